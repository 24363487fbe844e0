/** The programs for people at a frame, held against the tool itself. */
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/texts.h"
#include "link/mailbox.h"
#include "memory/hostlock.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testsupport::Payload;
using testsupport::Process;
using testsupport::ProcessResult;
using testsupport::ReadFile;
using testsupport::Region;
using testsupport::RunProcess;

namespace {

using Arguments = std::vector<std::string>;

const std::string SIX_LINES = "\n\n\n\n\n\n";

class FrameProgramsTest : public UpgradeTest {
  protected:
    ProcessResult runProgram(const char* program, const Arguments& arguments) const {
        return RunProcess(program, arguments, i_directory.path());
    }

    /** Runs tolmira_run on the tool, and reads its report. */
    json report(const Arguments& toolArguments, ProcessResult& result) const {
        Arguments arguments = {"--report", "report"};
        arguments.insert(arguments.end(), toolArguments.begin(), toolArguments.end());
        result = runProgram(TOLMIRA_RUN, arguments);
        return json::parse(ReadFile(i_directory.path("report")), nullptr, false);
    }
};

TEST_F(FrameProgramsTest, TellWrongUsageInOneLine) {
    const struct {
        const char* program;
        Arguments arguments;
    } cases[] = {
        {TFI_INSPECT, {}},
        {TFI_INSPECT, {"--bogus", "image"}},
        {TOLMIRA_STATUS, {"more"}},
        {TOLMIRA_STATUS, {"--count", "2"}},
        {TOLMIRA_RUN, {"--bogus", "image", "configuration"}},
        {TOLMIRA_RUN, {"-f", "--bogus", "image", "configuration"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        const ProcessResult result = runProgram(c.program, c.arguments);
        EXPECT_EQ(result.exitValue, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_THAT(result.err, HasSubstr("--help"));
    }
}

/** What the tool did with an image, in the words of the inspector's forecast. */
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

TEST_F(FrameProgramsTest, TheInspectorForetellsWhatTheToolDoes) {
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
        {header, "no pages", "nothing stands behind the header", -1},
        {header + Payload(1), "cannot be cut into pages", "of 1 bytes is one byte more", -1},
        {header + Payload(513), "cannot be cut into pages", "of 513 bytes is one byte more", -1},
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
        std::filesystem::remove(i_directory.path("image"));
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
    ASSERT_EQ(mkfifo(i_directory.path("pipe").c_str(), 0600), 0);
    const ProcessResult text = runProgram(TFI_INSPECT, {"image"});
    EXPECT_EQ(text.exitValue, 0);
    const std::string digest = runProgram("/usr/bin/sha256sum", {"image"}).out.substr(0, 64);
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
}

#define LEFT_BEHIND                                                                        \
    "host: left by a killed run; use tolmira_run, or first run tolmira_upgrade once with " \
    "the path of a missing image\n"

TEST_F(FrameProgramsTest, TheStatusNamesWhatTheMailboxHolds) {
    const struct {
        uint32_t words[6];
        unsigned revision;
        int exitValue;
        const char* text;
    } cases[] = {
        {{0, 0, 0, 0, 0, 0},
         7,
         3,
         "controller: absent\nrevision: 7, the tool's is 19525\nhost: none\n"
         "receive: off; flag: none; data: 0x00\nsend: absent; flag: none; data: 0x00\n"
         "upper bits: none\n"},
        {{0x12, 243, 1, 0xFE, 36, 1},
         19525,
         0,
         "controller: present\nrevision: 19525, the tool's is 19525\n" LEFT_BEHIND
         "receive: requested; flag: byte offered; data: 0x12\n"
         "send: announced; flag: byte offered; data: 0xFE\nupper bits: none\n"},
        {{0, 63, 0x502, 0, 35, 0xFFFFFF02},
         19526,
         1,
         "controller: present\nrevision: 19526, the tool's is 19525\n" LEFT_BEHIND
         "receive: up; flag: byte taken; data: 0x00\n"
         "send: taken over; flag: byte taken; data: 0x00\n"
         "upper bits: 0x00000500 at 7, 0xFFFFFF00 at 10\n"},
        {{0, 36, 3, 0, 243, 0x80},
         0x4C00,
         1,
         "controller: present\nrevision: 19456, the tool's is 19525\n" LEFT_BEHIND
         "receive: odd value 3; flag: odd value 36; data: 0x00\n"
         "send: odd value 128; flag: odd value 243; data: 0x00\nupper bits: none\n"},
    };
    Region region;
    for (const auto& c : cases) {
        for (unsigned i = 0; i < 6; ++i) {
            region.setWord(MAILBOX_RX_DATA + i, c.words[i]);
        }
        region.setWord(MAILBOX_REVISION_LOW, c.revision & 0xFF);
        region.setWord(MAILBOX_REVISION_HIGH, c.revision >> 8);
        const ProcessResult result = runProgram(TOLMIRA_STATUS, {});
        EXPECT_EQ(result.exitValue, c.exitValue);
        EXPECT_EQ(result.out, c.text);
    }
    const json answer = json::parse(runProgram(TOLMIRA_STATUS, {"--json"}).out);
    EXPECT_EQ(answer["revision"], 19456);
    EXPECT_EQ(answer["send"]["state_value"], 128);
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
        << "an answer that nobody has read";
}

TEST_F(FrameProgramsTest, TheStatusMakesNoObjectAndEndsNoneTooEarly) {
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

TEST_F(FrameProgramsTest, TheStatusWritesOneLineAChange) {
    Process watch(TOLMIRA_STATUS, {"--watch", "--count", "4"}, i_directory.path(), "watch");
    ASSERT_TRUE(watch.waitForOutput("No such file"));
    Region region;
    ASSERT_TRUE(watch.waitForOutput("absent; revision 0"));
    region.setWord(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
    // Some looks that find nothing to tell; a slow machine only makes them fewer.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
    ASSERT_TRUE(watch.waitForOutput("send: announced"));
    shm_unlink("/resource0");
    const ProcessResult result = watch.wait();
    EXPECT_EQ(result.exitValue, 4) << "as the last look has it";
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 4) << result.out;
}

/** Faults at each of the five attempts at page 1. */
std::string AtEveryAttempt(const std::string& fault) {
    std::string faults;
    for (int attempt = 1; attempt <= 5; ++attempt) {
        faults += fault + "@1." + std::to_string(attempt) + ' ';
    }
    return faults;
}

TEST_F(FrameProgramsTest, TheRunnerTellsTheCauses) {
    const Arguments usual = {"image", "configuration"};
    const std::string header = testsupport::SHORTEST_HEADER;
    const std::string good = header + Payload(300);
    const struct {
        const char* cause;
        int exitValue;
        Arguments controller;
        std::string image;
        Arguments arguments;
        const char* why;
    } cases[] = {
        {"upgraded", 0, {"--faults", "result=1@1.1 id=7@1.2"}, good, usual, nullptr},
        {"already current", 255, {"--revision", "19525"}, good, usual, nullptr},
        {"upgraded", 0, {"--revision", "19525"}, good, {"-f", "image", "configuration"}, nullptr},
        {"image not opened", 255, {}, good, {"a \"quoted\"\nDone\n", "configuration"}, nullptr},
        {"not a TFI image", 255, {}, "no image", usual, nullptr},
        {"too many pages",
         255,
         {},
         header + std::string(size_t{65536} * 256, '\0'),
         usual,
         nullptr},
        {"image can't be cut or read", 255, {}, header + Payload(257), usual, nullptr},
        {"wrong usage", 255, {}, good, {"image"}, nullptr},
        {"page failed", 255, {"--faults", AtEveryAttempt("result=1")}, good, usual, "bad result"},
        {"page failed", 255, {"--faults", AtEveryAttempt("id=7")}, good, usual, "other answer"},
        {"page failed", 255, {"--faults", "norearm silence@1.1"}, good, usual, "no answer"},
        {"page failed", 255, {"--faults", "die@1.1.100"}, good, usual, "send failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.cause) + testing::PrintToString(c.controller));
        i_directory.write("image", c.image);
        Controller controller(i_directory, c.controller);
        ProcessResult result;
        const json answer = report(c.arguments, result);
        EXPECT_EQ(answer["cause"], c.cause);
        EXPECT_EQ(answer["exit_value"], c.exitValue);
        EXPECT_EQ(result.exitValue, c.exitValue);
        EXPECT_EQ(answer["arguments"], json(c.arguments));
        EXPECT_EQ(answer.contains("failed_page"), c.why != nullptr);
        if (c.why != nullptr) {
            EXPECT_EQ(answer["failed_page"]["page"], 1);
            EXPECT_EQ(answer["failed_page"]["why"], c.why);
            EXPECT_EQ(answer["failed_page"]["attempts"].size(), 5U);
            EXPECT_EQ(answer["pages_sent"], 1);
        }
        controller.stop();
    }
}

TEST_F(FrameProgramsTest, TheRunnerTellsAnAssertion) {
    ASSERT_EQ(mkdir("/dev/shm/resource1", 0777), 0);
    ProcessResult result;
    const json answer = report({"image", "configuration"}, result);
    ASSERT_EQ(rmdir("/dev/shm/resource1"), 0);
    EXPECT_EQ(result.exitValue, 128 + SIGABRT);
    EXPECT_EQ(answer["cause"], "assertion");
    EXPECT_EQ(answer["signal"], SIGABRT);
    EXPECT_EQ(answer["assertion"],
              "memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0)");
    EXPECT_EQ(answer["troubles"][0], "open failed /resource1 (Invalid argument)");
}

TEST_F(FrameProgramsTest, TheRunnerLeavesTheOutputAsItIs) {
    const std::string payload = Payload(700);
    writeImage(payload);
    Controller controller(i_directory);
    ExpectRun(runProgram(TOLMIRA_RUN, {"image", "configuration"}), 0, SuccessfulRun(payload));
    const ProcessResult result = runProgram(
        TOLMIRA_RUN, {"--tool", "/bin/sh", "--", "-c", "printf 'a\\0\\nb'; echo c >&2; exit 7"});
    EXPECT_EQ(result.out, std::string("a\0\nb", 4));
    EXPECT_EQ(result.err, "c\n");
    EXPECT_EQ(result.exitValue, 7);
    // A reader that goes away ends neither this program nor the tool.
    const std::string script =
        "{ \"$0\" -f image configuration; echo $? >value; } | head -n 1 >/dev/null";
    runProgram("/bin/sh", {"-c", script, TOLMIRA_RUN});
    EXPECT_EQ(ReadFile(i_directory.path("value")), "0\n");
}

TEST_F(FrameProgramsTest, TheRunnerPassesSignalsOn) {
    const std::string script =
        "trap 'echo caught; trap - TERM; kill -TERM $$' TERM; echo ready; "
        "while :; do sleep 0.01; done";
    Process runner(TOLMIRA_RUN, {"--report", "report", "--tool", "/bin/sh", "--", "-c", script},
                   i_directory.path(), "runner");
    ASSERT_TRUE(runner.waitForOutput("ready"));
    const ProcessResult result = runner.stop();
    EXPECT_EQ(result.exitValue, 128 + SIGTERM);
    EXPECT_EQ(result.out, "ready\ncaught\n");
    EXPECT_EQ(json::parse(ReadFile(i_directory.path("report")))["cause"], "killed by a signal");
}

TEST_F(FrameProgramsTest, TheRunnerLetsNoSecondRunIn) {
    const Arguments second = {"--report", "report", "--tool", "/bin/true"};
    i_directory.write("report", "of an earlier run");
    Process first(TOLMIRA_RUN,
                  {"--tool", "/bin/sh", "--", "-c", "echo $$ >pid; echo ready; exec sleep 100"},
                  i_directory.path(), "first");
    ASSERT_TRUE(first.waitForOutput("ready"));
    const ProcessResult refused = runProgram(TOLMIRA_RUN, second);
    EXPECT_EQ(refused.exitValue, 75);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "tolmira_run: another run is under way; wait for its end\n");
    EXPECT_EQ(ReadFile(i_directory.path("report")), "of an earlier run");

    first.wait(std::chrono::seconds(0));  // kills the runner; its tool lives on
    EXPECT_EQ(runProgram(TOLMIRA_RUN, second).exitValue, 75);
    kill(std::stoi(ReadFile(i_directory.path("pid"))), SIGKILL);
    int exitValue = 75;
    for (int i = 0; i < 1000 && exitValue == 75; ++i) {
        exitValue = runProgram(TOLMIRA_RUN, second).exitValue;
    }
    EXPECT_EQ(exitValue, 0);
}

TEST_F(FrameProgramsTest, TheRunnerTellsItsOwnFailures) {
    EXPECT_EQ(runProgram(TOLMIRA_RUN, {"--tool", "no/such/tool"}).exitValue, 127);
    EXPECT_EQ(runProgram(TOLMIRA_RUN, {"--report", "no/such/file"}).exitValue, 73);
    const std::string beyondAnyBuffer(100000, 'x');
    EXPECT_THAT(
        runProgram(TOLMIRA_RUN, {"--report", "/dev/full", "--tool", "/bin/true", beyondAnyBuffer})
            .err,
        HasSubstr("cannot write /dev/full: No space left"));
    ASSERT_EQ(unlink("/dev/shm/resource0.lock"), 0);
    ASSERT_EQ(symlink("elsewhere", "/dev/shm/resource0.lock"), 0);
    EXPECT_EQ(runProgram(TOLMIRA_RUN, {"--tool", "/bin/true"}).exitValue, 73);
    ASSERT_EQ(unlink("/dev/shm/resource0.lock"), 0);
}

TEST_F(FrameProgramsTest, TheRunnerDrawsProgressOnATerminal) {
    const std::string payload = Payload(300);
    writeImage(payload);
    Controller controller(i_directory, {"--faults", "late=1500@1.1"});
    const std::string command = TOLMIRA_RUN " image configuration >out";
    ASSERT_EQ(runProgram("/usr/bin/script", {"-qec", command, "terminal"}).exitValue, 0);
    const std::string terminal = ReadFile(i_directory.path("terminal"));
    EXPECT_THAT(terminal, HasSubstr("\r\033[K1 of 2 pages, "));
    EXPECT_THAT(terminal, HasSubstr(" s left\r\033[K"));
    EXPECT_GT(terminal.rfind("\r\033[K"), terminal.rfind(" pages")) << "nothing stays";
    EXPECT_EQ(testsupport::Normalised(ReadFile(i_directory.path("out"))),
              SuccessfulRun(payload).text());
}

}  // namespace
