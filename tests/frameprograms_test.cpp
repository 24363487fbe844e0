/** The programs for the operator of a frame, compared with the tool itself. */
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/texts.h"
#include "memory/hostlock.h"
#include "tests/framefixture.h"

namespace {

const std::string SIX_LINES = "\n\n\n\n\n\n";

using FrameProgramsTest = FrameTest;

/** What the tool did with an image, in the form of the inspector's forecast. */
json ObservedResult(const ProcessResult& result) {
    json log = json::array();
    long pagesSent = 0;
    toollog::LogReader reader([&](const toollog::LogLine& line) {
        const toollog::Recognised found = toollog::Recognise(line.severity, line.message);
        if (found.text == toollog::e_LogText_PageVerdict) {
            pagesSent += found.values[1] == toollog::PAGE_SENT ? 1 : 0;
        } else if (found.text != toollog::e_LogText_Revision) {
            log.push_back(line.message);
        }
    });
    reader.take(result.out.data(), result.out.size());
    reader.finish();
    return {{"exit_value", result.exitValue}, {"pages_sent", pagesSent}, {"log", log}};
}

TEST_F(FrameProgramsTest, TheInspectorPredictsWhatTheToolDoes) {
    const std::string header = testsupport::SHORTEST_HEADER;
    const std::string absent = "no file";
    const struct {
        std::string file;
        const char* verdict;
        const char* reason;
        int lastPageContent;
    } cases[] = {
        {header + Payload(2), "would be sent", "", 0},
        {header + Payload(255), "would be sent", "", 253},
        {header + Payload(512), "would be sent", "", 254},
        {header + Payload(258), "would be sent", "", 0},
        {std::string(255, 'x') + SIX_LINES + "END\n" + Payload(9), "would be sent", "", 7},
        {SIX_LINES + "\nEND\n" + Payload(9), "not a TFI image", "doesn't begin with END", -1},
        {header, "no pages", "nothing follows the header", -1},
        {header + Payload(1), "cannot be cut into pages", "of 1 bytes is one byte longer", -1},
        {header + Payload(513), "cannot be cut into pages", "of 513 bytes is one byte longer", -1},
        {header + std::string(size_t{65535} * 256 + 1, '\0'), "too many pages", "65536 pages", -1},
        {"", "not a TFI image", "ends in line 1", -1},
        {"\n\n\n\n\nEND\n", "not a TFI image", "ends in line 7", -1},
        {SIX_LINES + "END", "not a TFI image", "ends in line 7", -1},
        {SIX_LINES + "end\n" + Payload(9), "not a TFI image", "doesn't begin with END", -1},
        {"\n" + std::string(256, 'x') + SIX_LINES, "not a TFI image", "line 2 is longer", -1},
        {SIX_LINES + "END" + std::string(253, 'x') + "\n", "not a TFI image", "line 7 is lo", -1},
        {absent, "cannot be opened", "No such file", -1},
    };
    Controller controller(i_directory);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.verdict + (':' + c.file.substr(0, 40)));
        std::filesystem::remove(path("image"));
        if (c.file != absent) {
            i_directory.write("image", c.file);
        }
        const ProcessResult result = runProgram(TFI_INSPECT, {"--json", "image"});
        json answer = json::parse(result.out)["images"][0];
        EXPECT_EQ(answer["verdict"], c.verdict);
        EXPECT_THAT(answer["reason"].get<std::string>(), HasSubstr(c.reason));
        EXPECT_EQ(answer.value("last_page_content", -1), c.lastPageContent);
        EXPECT_EQ(result.exitValue, answer["sendable"].get<bool>() ? 0 : 1);
        answer["tool"].erase("summary");
        EXPECT_EQ(answer["tool"], ObservedResult(run({"-f", "image", "configuration"})));
    }
}

TEST_F(FrameProgramsTest, TheInspectorTakesAnyFile) {
    writeImage(Payload(300), "Tolmira \xFF\n\n\n\n\n\r\nEND of it\n");
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const ProcessResult text = runProgram(TFI_INSPECT, {"image"});
    EXPECT_EQ(text.exitValue, 0);
    const std::string digest = sha256Of("image");
    EXPECT_THAT(text.out, StartsWith("file: image\nsize: 326\nsha256: " + digest +
                                     "\nheader line 1: Tolmira \\xFF\nheader line 2:\n"));
    EXPECT_THAT(text.out, HasSubstr("header line 7: END of it\npayload start: 26\n"
                                    "payload size: 300\npages: 2\nchecksum: "));
    const ProcessResult several = runProgram(TFI_INSPECT, {"--json", "image", ".", "pipe"});
    EXPECT_EQ(several.exitValue, 1);
    const json answers = json::parse(several.out)["images"];
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_EQ(answers[0]["pages"], 2);
    EXPECT_EQ(answers[0]["sha256"], digest);
    EXPECT_FALSE(answers[1].contains("sha256"));
    EXPECT_EQ(answers[1]["reason"], "it is a directory");
    EXPECT_EQ(answers[2]["verdict"], "not a file");
    EXPECT_EQ(runProgram(TFI_INSPECT, {}).exitValue, 2);
}

#define LEFT                                                                               \
    "host: left by a killed run; use tolmira_run, or first run tolmira_upgrade once with " \
    "the path of a missing image\n"

TEST_F(FrameProgramsTest, TheStatusNamesTheStateOfTheMailbox) {
    const struct {
        uint32_t rxData, rxFlag, rxState, txData, txFlag, txState;
        unsigned revision;
        int exitValue;
        const char* text;
    } cases[] = {
        {0, 0, 0, 0, 0, 0, 7, 3,
         "controller: absent\nrevision: 7, the tool's is 19525\nhost: none\n"
         "receive: off; flag: none; data: 0x00\nsend: absent; flag: none; data: 0x00\n"
         "upper bits: none\n"},
        {0x12, 243, 1, 0xFE, 36, 1, 19525, 0,
         "controller: present\nrevision: 19525, the tool's is 19525\n" LEFT
         "receive: requested; flag: byte offered; data: 0x12\n"
         "send: announced; flag: byte offered; data: 0xFE\nupper bits: none\n"},
        {0, 63, 0x502, 0, 35, 0xFFFFFF02, 19526, 1,
         "controller: present\nrevision: 19526, the tool's is 19525\n" LEFT
         "receive: up; flag: byte taken; data: 0x00\n"
         "send: taken over; flag: byte taken; data: 0x00\n"
         "upper bits: 0x00000500 at 7, 0xFFFFFF00 at 10\n"},
        {0, 36, 3, 0, 243, 0x80, 0x4C00, 1,
         "controller: present\nrevision: 19456, the tool's is 19525\n" LEFT
         "receive: odd value 3; flag: odd value 36; data: 0x00\n"
         "send: odd value 128; flag: odd value 243; data: 0x00\nupper bits: none\n"},
    };
    Region region;
    for (const auto& c : cases) {
        unsigned address = MAILBOX_RX_DATA;
        for (const uint32_t word : {c.rxData, c.rxFlag, c.rxState, c.txData, c.txFlag, c.txState}) {
            region.setWord(address++, word);
        }
        region.setWord(MAILBOX_REVISION_LOW, c.revision & 0xFF);
        region.setWord(MAILBOX_REVISION_HIGH, c.revision >> 8);
        const ProcessResult result = runProgram(TOLMIRA_STATUS, {});
        EXPECT_EQ(result.exitValue, c.exitValue);
        EXPECT_EQ(result.out, c.text);
    }
    const json answer = json::parse(runProgram(TOLMIRA_STATUS, {"--json"}).out);
    ExpectMembers(answer, {{"revision", 19456}, {"send", {{"state_value", 128}}}});
    const ProcessResult line = runProgram(TOLMIRA_STATUS, {"--watch", "--json", "--count", "1"});
    EXPECT_EQ(line.exitValue, 1);
    EXPECT_EQ(json::parse(line.out)["receive"], "odd value 3");
    EXPECT_THAT(json::parse(line.out)["host"]["next_step"], HasSubstr("tolmira_run"));

    const int fd = shm_open("/resource0", O_RDWR, 0);
    LockAsHost(fd);
    const std::string own = "pid " + std::to_string(getpid());
    EXPECT_THAT(runProgram(TOLMIRA_STATUS, {}).out, HasSubstr("\nhost: at work, " + own + "\n"));
    region.setWord(MAILBOX_RX_STATE, STATE_ABSENT);
    region.setWord(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
    EXPECT_EQ(json::parse(runProgram(TOLMIRA_STATUS, {"--json"}).out)["host"]["pid"], getpid());
    close(fd);
    EXPECT_THAT(runProgram(TOLMIRA_STATUS, {}).out, HasSubstr("left by a killed run"))
        << "an unread answer";
}

TEST_F(FrameProgramsTest, TheStatusNeitherCreatesNorResizesTheObject) {
    const ProcessResult missing = runProgram(TOLMIRA_STATUS, {});
    EXPECT_EQ(missing.exitValue, 4);
    EXPECT_THAT(missing.err, HasSubstr("/resource0: No such file"));
    EXPECT_FALSE(std::filesystem::exists("/dev/shm/resource0"));
    { const Region made; }
    ASSERT_EQ(truncate("/dev/shm/resource0", 0x2000), 0);
    const ProcessResult tooShort = runProgram(TOLMIRA_STATUS, {"--json"});
    EXPECT_EQ(tooShort.exitValue, 4);
    EXPECT_THAT(tooShort.err, HasSubstr("shorter than"));
    EXPECT_EQ(json::parse(tooShort.out)["exit_value"], 4);
    EXPECT_EQ(std::filesystem::file_size("/dev/shm/resource0"), 0x2000U);
}

TEST_F(FrameProgramsTest, TheStatusPrintsALineForEachChange) {
    Process watch(TOLMIRA_STATUS, {"--watch", "--count", "4"}, i_directory.path(), "watch");
    ASSERT_TRUE(watch.waitForOutput("No such file"));
    Region region;
    ASSERT_TRUE(watch.waitForOutput("absent; revision 0"));
    region.setWord(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
    // Some polls that find no change to print; a slow machine only makes them fewer.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
    ASSERT_TRUE(watch.waitForOutput("send: announced"));
    shm_unlink("/resource0");
    const ProcessResult result = watch.wait();
    EXPECT_EQ(result.exitValue, 4) << "as of the last poll";
    EXPECT_EQ(LinesIn(result.out), 4) << result.out;
    EXPECT_EQ(runProgram(TOLMIRA_STATUS, {"--count", "2"}).exitValue, 2) << "without --watch";
}

}  // namespace
