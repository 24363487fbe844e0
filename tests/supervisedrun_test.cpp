/** tolmira_run on the tool itself, on a controller, and on tools that are scripts. */
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "companions/digest/sha256.h"
#include "companions/operator/toollog/causes.h"
#include "link/mailbox.h"
#include "tests/support/privateshm.h"
#include "tests/support/region.h"
#include "tests/support/terminal.h"
#include "tests/upgradefixture.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testsupport::Payload;
using testsupport::Process;
using testsupport::ProcessResult;
using testsupport::ReadFile;
using testsupport::Region;
using testsupport::RunProcess;
using testsupport::Terminal;

namespace {

using Arguments = std::vector<std::string>;

const Arguments USUAL = {"image", "configuration"};
constexpr char LOCK_FILE[] = "/dev/shm/resource0.lock";
constexpr char INTERRUPT[] = "\3";

Arguments operator+(Arguments one, const Arguments& other) {
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

class SupervisedRunTest : public UpgradeTest {
  protected:
    ProcessResult runProgram(const Arguments& arguments) const {
        return RunProcess(TOLMIRA_RUN, arguments, i_directory.path());
    }

    json readReport() const {
        return json::parse(ReadFile(i_directory.path("report")), nullptr, false);
    }

    /** Runs with --report and these options and operands. */
    json report(const Arguments& arguments, ProcessResult& result) const {
        std::filesystem::remove(i_directory.path("report"));
        result = runProgram(Arguments{"--report", "report"} + arguments);
        return readReport();
    }

    /** The options that run a shell script in the tool's place; it gets the tool's words. */
    Arguments script(const std::string& text) const {
        i_directory.write("script", "#!/bin/sh\n" + text + "\n");
        chmod(i_directory.path("script").c_str(), 0755);
        return {"--tool", "./script"};
    }

    bool waitForFile(const std::string& name) const {
        for (int i = 0; i < 10000 && !std::filesystem::exists(i_directory.path(name)); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return std::filesystem::exists(i_directory.path(name));
    }
};

/** Faults at each of the five attempts at a page. */
std::string AtEveryAttempt(const std::string& fault, int page = 1) {
    std::string faults;
    for (int attempt = 1; attempt <= 5; ++attempt) {
        faults += fault + '@' + std::to_string(page) + '.' + std::to_string(attempt) + ' ';
    }
    return faults;
}

const toollog::CauseRow& RowOf(const std::string& words) {
    for (const toollog::CauseRow& row : toollog::CAUSE_ROWS) {
        if (words == row.words) {
            return row;
        }
    }
    throw std::runtime_error("no such cause: " + words);
}

TEST_F(SupervisedRunTest, TellsTheCauses) {
    const std::string header = testsupport::SHORTEST_HEADER;
    const std::string good = header + Payload(300);
    const Arguments refusing = {"--faults", AtEveryAttempt("result=1")};
    const struct {
        const char* cause;
        int exitValue;
        Arguments controller;
        std::string image;
        Arguments arguments;
        const char* why;
    } cases[] = {
        {"upgraded", 0, {"--faults", "result=1@1.1 id=7@1.2"}, good, USUAL, nullptr},
        {"already current", 255, {"--revision", "19525"}, good, USUAL, nullptr},
        {"already current",
         4,
         {"--revision", "19525"},
         good,
         Arguments{"--exit-by-cause"} + USUAL,
         nullptr},
        {"already current",
         0,
         {"--revision", "19525"},
         good,
         Arguments{"--current-ok"} + USUAL,
         nullptr},
        {"upgraded", 0, {"--revision", "19525"}, good, {"-f", "image", "configuration"}, nullptr},
        {"image not opened", 255, {}, good, {"a \"quoted\"\nDone\n", "configuration"}, nullptr},
        {"not a TFI image", 255, {}, "no image", USUAL, nullptr},
        {"not a TFI image", 65, {}, "no image", Arguments{"--exit-by-cause"} + USUAL, nullptr},
        {"too many pages",
         255,
         {},
         header + std::string(size_t{65536} * 256, '\0'),
         USUAL,
         nullptr},
        {"image can't be cut or read", 255, {}, header + Payload(257), USUAL, nullptr},
        {"page failed", 255, refusing, good, USUAL, "bad result"},
        {"page failed", 11, refusing, good, Arguments{"--exit-by-cause"} + USUAL, "bad result"},
        {"page failed", 255, {"--faults", AtEveryAttempt("id=7")}, good, USUAL, "other answer"},
        {"page failed", 255, {"--faults", "norearm silence@1.1"}, good, USUAL, "no answer"},
        {"page failed", 255, {"--faults", "die@1.1.100"}, good, USUAL, "send failed"},
        // The second page is refused, but the answer that nobody asked for hides that from the
        // tool.
        {"answer left unread",
         23,
         {"--faults", "unasked=0@1.1.0 result=1@1.1"},
         good,
         USUAL,
         nullptr},
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
        EXPECT_EQ(answer["next_step"], RowOf(c.cause).nextStep);
        EXPECT_THAT(result.err, HasSubstr("; " + answer["next_step"].get<std::string>() + '\n'));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_NE(answer["failed_page"].is_null(), c.why != nullptr);
        if (c.why != nullptr) {
            EXPECT_EQ(answer["failed_page"]["page"], 1);
            EXPECT_EQ(answer["failed_page"]["why"], c.why);
            EXPECT_EQ(answer["failed_page"]["attempts"].size(), 5U);
            EXPECT_EQ(answer["pages_sent"], 1);
        }
        controller.stop();
    }
}

TEST_F(SupervisedRunTest, TellsAnAssertion) {
    ASSERT_EQ(mkdir("/dev/shm/resource1", 0777), 0);
    ProcessResult result;
    const json answer = report(USUAL, result);
    ASSERT_EQ(rmdir("/dev/shm/resource1"), 0);
    EXPECT_EQ(result.exitValue, 128 + SIGABRT);
    EXPECT_EQ(answer["cause"], "assertion");
    EXPECT_EQ(answer["tool"]["signal"], SIGABRT);
    EXPECT_EQ(answer["assertion"],
              "memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0)");
    EXPECT_EQ(answer["troubles"][0], "open failed /resource1 (Invalid argument)");
}

TEST_F(SupervisedRunTest, ReportsWhatWasSentAndWhere) {
    const std::string payload = Payload(300);
    writeImage(payload);
    Controller controller(i_directory, {"--revision", "7"});
    ProcessResult result;
    const json answer = report({"--sha256-file", "sums", "image", "configuration"}, result);
    EXPECT_EQ(answer["cause"], "wrong digest");
    EXPECT_TRUE(answer["tool"]["exit_value"].is_null());
    const json sent = report({"--quiet", "image", "configuration"}, result);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(sent["format"], 1);
    EXPECT_EQ(sent["image"]["name"], "image");
    EXPECT_EQ(sent["image"]["size"], 310);
    EXPECT_EQ(sent["revision_before"], 7);
    EXPECT_EQ(sent["revision_after"], TOOL_REVISION);
    EXPECT_EQ(sent["tool"]["exit_value"], 0);
    EXPECT_EQ(sent["recovered"], false);
    EXPECT_TRUE(sent["verified"].is_null());
    const ProcessResult output = runProgram({"--report", "-", "-f", "image", "configuration"});
    EXPECT_EQ(json::parse(output.out)["cause"], "upgraded");
    EXPECT_THAT(output.err, HasSubstr("Page 1 sent successfully"));
}

TEST_F(SupervisedRunTest, LeavesTheOutputAsItIs) {
    const std::string payload = Payload(700);
    writeImage(payload);
    Controller controller(i_directory);
    const ProcessResult upgraded = runProgram(USUAL);
    EXPECT_EQ(upgraded.exitValue, 0);
    EXPECT_EQ(testsupport::Normalised(upgraded.out), SuccessfulRun(payload).text());
    const ProcessResult result =
        runProgram(script("printf 'a\\0\\nb'; echo \"$@\" >&2; exit 7") + Arguments{"-f"} + USUAL);
    EXPECT_EQ(result.out, std::string("a\0\nb", 4));
    EXPECT_EQ(result.err, "-f image configuration\ntolmira_run: unknown; read the log\n");
    EXPECT_EQ(result.exitValue, 7);
    // A reader that goes away ends neither this program nor the tool.
    const std::string command =
        "{ \"$0\" -f image configuration; echo $? >value; } | head -n 1 >/dev/null";
    RunProcess("/bin/sh", {"-c", command, TOLMIRA_RUN}, i_directory.path());
    EXPECT_EQ(ReadFile(i_directory.path("value")), "0\n");
}

// 256 pages and more have a log that fills any pipe.
TEST_F(SupervisedRunTest, WaitsForNoReaderOfTheLog) {
    writeImage(Payload(size_t{256} * 2000));
    Controller controller(i_directory);
    const std::string command =
        "\"$0\" --report report image configuration | "
        "{ while [ ! -e go ]; do sleep 0.01; done; cat; }";
    Process reader("/bin/sh", {"-c", command, TOLMIRA_RUN}, i_directory.path(), "reader");
    ASSERT_TRUE(waitForFile("report")) << "though nobody has read anything";
    EXPECT_EQ(readReport()["cause"], "upgraded");
    EXPECT_EQ(ReadFile(i_directory.path("reader.out")), "");
    EXPECT_EQ(runProgram(script("exit 0") + USUAL).exitValue, 0) << "the lock is free";
    i_directory.write("go", "");
    EXPECT_THAT(reader.wait().out, HasSubstr("Page 1999 sent successfully\n"));
}

/** Whether an upgrade has ended well, and what it left behind. */
void ExpectUpgraded(const json& answer, const Region& region) {
    EXPECT_EQ(answer["cause"], "upgraded");
    EXPECT_EQ(answer["exit_value"], 0);
    EXPECT_EQ(region.byte(MAILBOX_RX_STATE), STATE_ABSENT);
    EXPECT_EQ(std::filesystem::file_size(LOCK_FILE), 0U) << "no marker";
}

TEST_F(SupervisedRunTest, SurvivesItsTerminal) {
    constexpr size_t places = 20;
    writeImage(Payload(256 * places));
    const Region region;
    for (const bool closed : {true, false}) {
        for (size_t place = 0; place < places; ++place) {
            SCOPED_TRACE((closed ? "closed at " : "interrupted at ") + std::to_string(place));
            std::filesystem::remove(i_directory.path("report"));
            // The controller dwells on the page, so that the terminal has its chance there.
            Controller controller(i_directory,
                                  {"--faults", "late=100@" + std::to_string(place) + ".1.4"});
            Terminal terminal(TOLMIRA_RUN, Arguments{"--report", "report"} + USUAL,
                              i_directory.path());
            EXPECT_TRUE(terminal.waitFor(place == 0 ? "20 pages"
                                                    : "Page " + std::to_string(place - 1) + " s"));
            if (closed) {
                terminal.hangUp();
            } else {
                terminal.type(INTERRUPT);
                EXPECT_TRUE(terminal.waitFor("an upgrade is under way: "));
            }
            EXPECT_EQ(terminal.wait(), 0);
            ExpectUpgraded(readReport(), region);
            EXPECT_EQ(controller.flash(),
                      Payload(256 * places).substr(0, 256 * places - 2) + std::string(2, '\0'));
        }
    }
}

TEST_F(SupervisedRunTest, IsBrokenOffBySignals) {
    const struct {
        const char* what;
        Arguments options;
        int signal;
        int times;
        /** Shown before the first signal. */
        const char* at;
        const char* cause;
    } cases[] = {
        {"twice", {}, SIGINT, 2, "Page 1 s", "broken off"},
        {"twice", {}, SIGTERM, 2, "Page 1 s", "broken off"},
        {"at once", {"--interruptible"}, SIGTERM, 1, "Page 1 s", "broken off"},
        {"before the pages", {}, SIGQUIT, 1, "Controller isn't there", "stopped before the pages"},
    };
    writeImage(Payload(1000));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what + testing::PrintToString(c.signal));
        const bool before = c.times == 1 && c.options.empty();
        std::optional<Controller> controller;
        if (!before) {
            controller.emplace(i_directory, Arguments{"--faults", "late=2500@2.1.4"});
        } else {
            const Region region;
            std::filesystem::remove("/dev/shm/resource0");
        }
        std::filesystem::remove(i_directory.path("report"));
        Process runner(TOLMIRA_RUN, Arguments{"--report", "report"} + c.options + USUAL,
                       i_directory.path(), "runner");
        ASSERT_TRUE(runner.waitForOutput(c.at));
        kill(runner.pid(), c.signal);
        if (c.times == 2) {
            const auto warned = [&] {
                return ReadFile(i_directory.path("runner.err")).find("under way") !=
                       std::string::npos;
            };
            for (int i = 0; i < 10000 && !warned(); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            ASSERT_TRUE(warned());
            kill(runner.pid(), c.signal);
        }
        const ProcessResult result = runner.wait();
        EXPECT_EQ(result.exitValue, 128 + c.signal);
        const json answer = readReport();
        EXPECT_EQ(answer["cause"], c.cause);
        EXPECT_EQ(answer["signal"], c.signal);
        EXPECT_THAT(result.err, HasSubstr(RowOf(c.cause).nextStep));
        EXPECT_EQ(Region().byte(MAILBOX_RX_STATE), STATE_ABSENT) << "the clean pass";
        if (controller) {
            controller->stop();
        }
    }
    Controller controller(i_directory);
    ProcessResult result;
    EXPECT_EQ(report(Arguments{"-f"} + USUAL, result)["cause"], "upgraded");
}

/** The controller dwells on page 1; meanwhile the runner is killed, and then the tool too. */
class KilledRunTest : public SupervisedRunTest {
  protected:
    void killInPage(const std::string& faults, bool toolToo) {
        i_controller.emplace(i_directory, Arguments{"--faults", faults});
        Process runner(TOLMIRA_RUN,
                       script("echo $$ >pid; exec " TOLMIRA_UPGRADE " \"$@\"") +
                           Arguments{"--report", "old"} + USUAL,
                       i_directory.path(), "runner");
        ASSERT_TRUE(runner.waitForOutput("Page 0 s"));
        i_pid = runner.pid();
        runner.wait(std::chrono::seconds(0));
        EXPECT_EQ(runProgram(USUAL).exitValue, 75) << "the tool has the lock";
        if (toolToo) {
            kill(std::stoi(ReadFile(i_directory.path("pid"))), SIGKILL);
        }
        std::filesystem::remove(i_directory.path("pid"));
    }

    /** The first run that isn't refused because the killed one's tool still runs. */
    json next(ProcessResult& result) {
        json answer;
        do {
            answer = report(Arguments{"-f"} + USUAL, result);
        } while (result.exitValue == 75);
        return answer;
    }

    std::optional<Controller> i_controller;
    int i_pid = 0;
};

TEST_F(KilledRunTest, IsToldByTheNextAndMadeGood) {
    writeImage(Payload(1000));
    for (const bool toolToo : {false, true}) {
        SCOPED_TRACE(toolToo);
        killInPage("late=2500@1.1.4", toolToo);
        ProcessResult result;
        const json answer = next(result);
        EXPECT_EQ(answer["cause"], "upgraded");
        EXPECT_EQ(answer["recovered"], true);
        EXPECT_EQ(answer["previous_run"]["pid"], i_pid);
        EXPECT_EQ(answer["previous_run"]["report"], i_directory.path("old"));
        EXPECT_THAT(result.err, HasSubstr("making a clean pass"));
        EXPECT_FALSE(std::filesystem::exists(i_directory.path("old")));
        EXPECT_TRUE(report(Arguments{"-f"} + USUAL, result)["previous_run"].is_null());
        i_controller->stop();
    }
}

// Without the clean pass the answer to the killed run's page counts for page 0, each page gets the
// verdict of the one before it, and that of the last one is never read.
TEST_F(KilledRunTest, HidesNoRefusalOfTheLastPage) {
    writeImage(Payload(1000));
    killInPage("late=2500@1.1.4 " + AtEveryAttempt("result=1", 3), true);
    ProcessResult result;
    EXPECT_EQ(next(result)["cause"], "page failed");
    EXPECT_EQ(result.exitValue, 255);
}

TEST_F(SupervisedRunTest, RefusesADirectionThatStaysUp) {
    Region region;
    region.setWord(MAILBOX_RX_STATE, STATE_READY);
    region.setWord(MAILBOX_TX_STATE, STATE_READY);
    ProcessResult result;
    const json answer = report(script("exit 255") + USUAL, result);
    EXPECT_EQ(result.exitValue, 24);
    EXPECT_EQ(answer["cause"], "receive direction stays up");
    EXPECT_EQ(answer["recovered"], false);
}

TEST_F(SupervisedRunTest, RefusesBesideAnotherRun) {
    i_directory.write("report", "of an earlier run");
    Process tool(TOLMIRA_UPGRADE, USUAL, i_directory.path(), "tool");
    ASSERT_TRUE(tool.waitForOutput("Controller isn't there"));
    ProcessResult result;
    json answer = report(USUAL, result);
    EXPECT_EQ(result.exitValue, 75);
    EXPECT_EQ(answer["cause"], "another run");
    EXPECT_THAT(result.err,
                HasSubstr("another tolmira_upgrade is at work, pid " + std::to_string(tool.pid())));
    tool.stop();

    Process first(TOLMIRA_RUN, script("echo ready; exec sleep 100") + USUAL, i_directory.path(),
                  "first");
    ASSERT_TRUE(first.waitForOutput("ready"));
    answer = report(USUAL, result);
    EXPECT_EQ(result.exitValue, 75);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("tolmira_run: another run is under way"));
    EXPECT_EQ(first.stop().exitValue, 128 + SIGTERM);
}

TEST_F(SupervisedRunTest, RefusesBesideARunWhoseLockFileIsGone) {
    Process first(TOLMIRA_RUN, USUAL, i_directory.path(), "first");
    ASSERT_TRUE(first.waitForOutput("Controller isn't there"));
    ASSERT_TRUE(std::filesystem::remove(LOCK_FILE));
    ProcessResult result;
    EXPECT_EQ(report(USUAL, result)["cause"], "another run");
    EXPECT_EQ(result.exitValue, 75) << "by the tool's own lock";
}

// The terminal reaches no process of another session, and no signal but SIGKILL ends the tool.
TEST_F(SupervisedRunTest, StartsTheToolOutOfTheTerminalsReach) {
    const std::string tool =
        "read -r _ _ _ _ _ session _ </proc/$$/stat; test $session = $$ && echo leader; "
        "sed -n 's/^SigIgn:.*\\(....\\)$/\\1/p' /proc/$$/status";
    const std::string out = runProgram(script(tool) + USUAL).out;
    EXPECT_THAT(out, testing::StartsWith("leader\n"));
    const unsigned long ignored =
        1UL << (SIGHUP - 1) | 1UL << (SIGINT - 1) | 1UL << (SIGQUIT - 1) | 1UL << (SIGTERM - 1);
    EXPECT_EQ(std::stoul(out.substr(out.find('\n') + 1), nullptr, 16) & ignored, ignored) << out;
}

TEST_F(SupervisedRunTest, TakesNoLockThatIsNone) {
    const std::function<void()> makers[] = {
        [] { ASSERT_EQ(symlink("elsewhere", LOCK_FILE), 0); },
        [] { ASSERT_EQ(mkfifo(LOCK_FILE, 0666), 0); },
        [] { ASSERT_EQ(mkdir(LOCK_FILE, 0777), 0); },
    };
    for (const auto& make : makers) {
        make();
        ProcessResult result;
        const json answer = report(script("exit 0") + USUAL, result);
        EXPECT_EQ(result.exitValue, 73);
        EXPECT_EQ(answer["cause"], "cannot lock");
        std::filesystem::remove(LOCK_FILE);
    }
    std::ofstream(LOCK_FILE) << "no marker";
    chmod(LOCK_FILE, 0);
    ProcessResult result;
    const json answer = report(script("exit 0") + USUAL, result);
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_EQ(answer["previous_run"]["pid"], 0);
    EXPECT_EQ(answer["recovered"], true);
    // A marker that can't be written: no file may grow.
    const std::string command = "ulimit -f 0; exec \"$0\" \"$@\"";
    EXPECT_EQ(
        RunProcess("/bin/sh", Arguments{"-c", command, TOLMIRA_RUN} + script("exit 0") + USUAL,
                   i_directory.path())
            .exitValue,
        73);
}

TEST_F(SupervisedRunTest, KeepsNoLineThatNeverEnds) {
    const std::string command = "exec \"$0\" \"$@\" >/dev/null";
    const std::string tool = "head -c 150000000 /dev/zero | tr '\\0' x; exit 255";
    ProcessResult result = RunProcess(
        "/bin/sh",
        Arguments{"-c", command, TOLMIRA_RUN, "--report", "report"} + script(tool) + USUAL,
        i_directory.path());
    EXPECT_EQ(result.exitValue, 255);
    EXPECT_EQ(readReport()["cause"], "unknown");
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory for a while
    rusage children = {};
    getrusage(RUSAGE_CHILDREN, &children);
    EXPECT_LT(children.ru_maxrss, 100000) << "KiB";
#endif
}

TEST_F(SupervisedRunTest, ReadsNoMailboxThatIsNone) {
    ASSERT_EQ(mkfifo("/dev/shm/resource0", 0666), 0);
    ProcessResult result;
    EXPECT_EQ(report(USUAL, result)["cause"], "mailbox unreadable");
    EXPECT_EQ(result.exitValue, 74);
}

// The tool would end with SIGBUS.
TEST_F(SupervisedRunTest, TellsAFullSharedMemory) {
    std::ofstream("/dev/shm/resource0").flush();
    std::filesystem::resize_file("/dev/shm/resource0", REGION_SIZE);
    const testsupport::FullSharedMemory memory;
    if (!memory.full()) {
        GTEST_SKIP() << "this machine permits no /dev/shm of its own";
    }
    ProcessResult result;
    EXPECT_EQ(report(USUAL, result)["cause"], "mailbox unreadable");
    EXPECT_EQ(result.exitValue, 74);
    EXPECT_THAT(result.err, HasSubstr("cannot allocate the mailbox in /resource0: No space left"));
}

TEST_F(SupervisedRunTest, ReportsEveryEnd) {
    const struct {
        Arguments arguments;
        int exitValue;
        int exitByCause;
        const char* cause;
    } cases[] = {
        {{"--bogus", "image", "configuration"}, 2, 2, "wrong usage"},
        {{"--verify-seconds", "x", "image", "configuration"}, 2, 2, "wrong usage"},
        {{"image"}, 2, 2, "wrong usage"},
        {{"--tool", "no/such/tool", "image", "configuration"}, 127, 71, "cannot start"},
        {{"pipe", "configuration"}, 28, 28, "image refused"},
        {{"--check", "image", "configuration"}, 1, 66, "image not opened"},
    };
    ASSERT_EQ(mkfifo(i_directory.path("pipe").c_str(), 0600), 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        ProcessResult result;
        EXPECT_EQ(report(c.arguments, result)["cause"], c.cause);
        EXPECT_EQ(result.exitValue, c.exitValue);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        const json byCause = report(Arguments{"--exit-by-cause"} + c.arguments, result);
        EXPECT_EQ(byCause["exit_value"], c.exitByCause);
        EXPECT_EQ(result.exitValue, c.exitByCause);
    }
}

TEST_F(SupervisedRunTest, WritesAReportWholeOrNotAtAll) {
    writeImage(Payload(300));
    ASSERT_EQ(mkfifo(i_directory.path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(i_directory.path("disk").c_str(), 0700), 0);
    for (const char* file : {"no/such/file", "pipe", "/dev/full", "image", "./configuration",
                             "script", LOCK_FILE, "."}) {
        SCOPED_TRACE(file);
        std::ofstream(LOCK_FILE).flush();
        const std::string image = ReadFile(i_directory.path("image"));
        const ProcessResult result =
            runProgram(Arguments{"--report", file} + script("exit 0") + USUAL);
        EXPECT_EQ(result.exitValue, 73);
        EXPECT_THAT(result.err, HasSubstr("--report -"));
        EXPECT_EQ(ReadFile(i_directory.path("image")), image);
    }
    std::filesystem::create_symlink("target", i_directory.path("report"));
    runProgram(Arguments{"--report", "report"} + script("exit 0") + USUAL);
    EXPECT_TRUE(std::filesystem::is_symlink(i_directory.path("report")));
    EXPECT_EQ(readReport()["cause"], "unknown");
    if (mount("tmpfs", i_directory.path("disk").c_str(), "tmpfs", 0, "size=32k") != 0) {
        GTEST_SKIP() << "no disk of its own here";
    }
    i_directory.write("disk/report", "old");
    const ProcessResult full =
        runProgram(Arguments{"--report", "disk/report"} +
                   script("head -c 100000 /dev/zero >disk/fill 2>/dev/null; exit 0") + USUAL);
    EXPECT_EQ(full.exitValue, 0);
    EXPECT_THAT(full.err, HasSubstr("No space left on device; the old one"));
    EXPECT_EQ(ReadFile(i_directory.path("disk/report")), "old");
    EXPECT_EQ(runProgram(Arguments{"--report", "disk/report"} + USUAL).exitValue, 73);
    umount(i_directory.path("disk").c_str());
}

std::string DigestOf(const std::string& bytes) {
    digest::Sha256 sha256;
    sha256.add(bytes.data(), bytes.size());
    return sha256.hex();
}

TEST_F(SupervisedRunTest, SendsNoImageWithAnotherDigest) {
    const std::string payload = Payload(300);
    writeImage(payload);
    const std::string good = DigestOf(ReadFile(i_directory.path("image")));
    const std::string bad(64, '0');
    i_directory.write("big", std::string((17U << 20) + 1, 'x'));
    std::string upper = good;
    std::transform(upper.begin(), upper.end(), upper.begin(), toupper);
    const struct {
        Arguments options;
        std::string sums;
        std::string image;
        int exitValue;
    } cases[] = {
        {{"--sha256", good}, "", "image", 0},
        {{"--sha256", upper}, "", "image", 0},
        {{"--sha256", bad}, "", "image", 27},
        {{"--sha256", good.substr(1)}, "", "image", 2},
        {{"--sha256", good}, "", "big", 28},
        {{"--sha256", good}, "", "missing", 28},
        {{"--sha256-file", "sums"}, good + "  image\n", "image", 0},
        {{"--sha256-file", "sums"}, bad + "  other\n" + upper + " *dir/image\n", "image", 0},
        {{"--sha256-file", "sums"}, bad + "  x/image\n" + good + "  ./image\n", "./image", 0},
        {{"--sha256-file", "sums"}, bad + "  image\n", "image", 27},
        {{"--sha256-file", "sums"}, good + "  other\n", "image", 27},
        {{"--sha256-file", "sums"}, good + "\nimage\n", "image", 27},
        {{"--sha256-file", "."}, "", "image", 27},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.options) + c.sums);
        i_directory.write("sums", c.sums);
        EXPECT_EQ(runProgram(c.options + script("exit 0") + Arguments{c.image, "configuration"})
                      .exitValue,
                  c.exitValue);
    }
}

TEST_F(SupervisedRunTest, SendsTheBytesThatWereChecked) {
    const std::string payload = Payload(1000);
    writeImage(payload);
    const std::string digest = DigestOf(ReadFile(i_directory.path("image")));
    Process runner(TOLMIRA_RUN, Arguments{"--sha256", digest} + USUAL, i_directory.path(),
                   "runner");
    ASSERT_TRUE(runner.waitForOutput("Controller isn't there"));
    writeImage(Payload(2000).substr(1000));
    Controller controller(i_directory);
    EXPECT_EQ(runner.wait().exitValue, 0);
    EXPECT_EQ(controller.flash().substr(0, 998), payload.substr(0, 998));
}

TEST_F(SupervisedRunTest, WaitsForAControllerForAsLongAsItIsTold) {
    writeImage(Payload(300));
    ProcessResult result;
    EXPECT_EQ(report(Arguments{"--wait", "0"} + USUAL, result)["cause"], "controller missing");
    EXPECT_EQ(result.exitValue, 1);
    EXPECT_EQ(result.out, "") << "the tool has not run";
    Process runner(TOLMIRA_RUN, Arguments{"--wait", "60"} + USUAL, i_directory.path(), "runner");
    const Controller controller(i_directory);
    EXPECT_THAT(runner.wait().out, Not(HasSubstr("isn't there")));
    Process stopped(TOLMIRA_RUN, Arguments{"--wait", "60"} + USUAL, i_directory.path(), "stopped");
}

TEST_F(SupervisedRunTest, VerifiesTheNewRevision) {
    const struct {
        const char* what;
        /** Address 10 and the revision at first, and when some time has passed. */
        unsigned state, revision;
        unsigned laterState, laterRevision;
        const char* seconds;
        int exitValue;
    } cases[] = {
        {"kept", 2, TOOL_REVISION, 2, TOOL_REVISION, "30", 0},
        {"late", 2, 7, 2, TOOL_REVISION, "30", 0},
        {"gone", 2, 7, 0, TOOL_REVISION, "1", 25},
        {"back after a restart", 0, 7, 1, TOOL_REVISION, "30", 0},
        {"another", 2, 7, 2, 8, "1", 26},
    };
    Region region;
    const auto set = [&](unsigned state, unsigned revision) {
        region.setWord(MAILBOX_REVISION_HIGH, revision >> 8);
        region.setWord(MAILBOX_REVISION_LOW, revision & 0xFF);
        region.setWord(MAILBOX_TX_STATE, state);
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        set(c.state, c.revision);
        std::filesystem::remove(i_directory.path("report"));
        Process runner(TOLMIRA_RUN,
                       Arguments{"--report", "report", "--verify", "--verify-seconds", c.seconds} +
                           script("echo ready") + USUAL,
                       i_directory.path(), "runner");
        ASSERT_TRUE(runner.waitForOutput("ready"));
        set(c.laterState, c.laterRevision);
        EXPECT_EQ(runner.wait().exitValue, c.exitValue);
        EXPECT_EQ(readReport()["verified"], c.exitValue == 0);
        EXPECT_EQ(readReport()["revision_after"],
                  c.laterState == 0 ? json() : json(c.laterRevision));
    }
}

TEST_F(SupervisedRunTest, DrawsProgressThatFitsTheTerminal) {
    const std::string payload = Payload(300);
    writeImage(payload);
    const Controller controller(i_directory, {"--faults", "late=2400@1.1"});
    Terminal terminal("/bin/sh", {"-c", "exec \"$0\" image configuration >out", TOLMIRA_RUN},
                      i_directory.path(), 40);
    EXPECT_EQ(terminal.wait(), 0);
    const std::string& shown = terminal.shown();
    EXPECT_THAT(shown, HasSubstr("\r\033[K1 of 2 pages, "));
    EXPECT_THAT(shown, HasSubstr("\r\033[K1 of 2 pages, stalled 2 s\r"));
    EXPECT_GT(shown.rfind("\r\033[Ktolmira_run: upgraded, 2 of 2"), shown.rfind(" s left"));
    for (size_t at = 0; (at = shown.find("1 of 2", at)) != std::string::npos; ++at) {
        EXPECT_LT(shown.find('\r', at) - at, 40U);
    }
    EXPECT_EQ(testsupport::Normalised(ReadFile(i_directory.path("out"))),
              SuccessfulRun(payload).text());
}

TEST_F(SupervisedRunTest, WritesProgressAsJson) {
    writeImage(Payload(300));
    const Controller controller(i_directory, {"--faults", "late=500@1.1"});
    const std::string command =
        "exec \"$0\" --progress json --progress-fd 7 image configuration 7>progress";
    RunProcess("/bin/sh", {"-c", command, TOLMIRA_RUN}, i_directory.path());
    std::ifstream file(i_directory.path("progress"));
    std::vector<json> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(json::parse(line));
    }
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0]["phase"], "pages");
    EXPECT_EQ(lines[0]["pages"], 2);
    EXPECT_EQ(lines.back(),
              json({{"format", 1}, {"phase", "ended"}, {"cause", "upgraded"}, {"exit_value", 0}}));
    EXPECT_EQ(runProgram(Arguments{"--progress", "json", "--progress-fd", "99"} + USUAL).exitValue,
              2);
    EXPECT_EQ(runProgram(Arguments{"--progress", "json"} + USUAL).exitValue, 2);
}

}  // namespace
