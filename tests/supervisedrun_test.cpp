/** tolmira_run on the tool itself, on a controller, and on tools that are scripts. */
#include <grp.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "companions/operator/toollog/causes.h"
#include "tests/framefixture.h"
#include "tests/support/privateshm.h"
#include "tests/support/terminal.h"

using testsupport::Terminal;

namespace {

const Arguments USUAL = {"image", "configuration"};
const Arguments SUCCEEDING = {"--tool", "/bin/true"};
constexpr char LOCK_FILE[] = "/dev/shm/resource0.lock";
constexpr char OBJECT[] = "/dev/shm/resource0";
constexpr char INTERRUPT[] = "\3";

Arguments operator+(Arguments one, const Arguments& other) {
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

/** The arguments of env for a run with the preloaded library, which this variable controls. */
Arguments Preloaded(const std::string& variable) {
    return {"LD_PRELOAD=" PRELOADED, "ASAN_OPTIONS=verify_asan_link_order=0", variable,
            TOLMIRA_RUN};
}

bool WaitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 60000 && !condition(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

class SupervisedRunTest : public FrameTest {
  protected:
    /** Runs on the usual operands, and keeps the result. */
    const ProcessResult& runOn(const Arguments& options, const Arguments& operands = USUAL) {
        return i_result = runProgram(TOLMIRA_RUN, options + operands);
    }
    /** The same with a new report, which it returns. */
    json report(const Arguments& options, const Arguments& operands = USUAL) {
        std::filesystem::remove(path("report"));
        runOn(Arguments{"--report", "report"} + options, operands);
        return readReport();
    }
    json readReport() const { return json::parse(read("report"), nullptr, false); }
    /** Runs it through a shell, which gets the command and has the program in $0. */
    const ProcessResult& shell(const std::string& command, const Arguments& arguments = {}) {
        return i_result = runProgram("/bin/sh", Arguments{"-c", command, TOLMIRA_RUN} + arguments);
    }
    Process start(const Arguments& options, const std::string& label) const {
        std::filesystem::remove(path("report"));
        return Process(TOLMIRA_RUN, Arguments{"--report", "report"} + options + USUAL,
                       i_directory.path(), label);
    }

    /** The options that run a shell script in the tool's place; it gets the tool's arguments. */
    Arguments script(const std::string& text) const {
        i_directory.write("script", "#!/bin/sh\n" + text + "\n");
        chmod(path("script").c_str(), 0755);
        return {"--tool", "./script"};
    }
    bool waitForFile(const char* name) const {
        return WaitUntil([&] { return std::filesystem::exists(path(name)); });
    }

    ProcessResult i_result;
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

// Each image has a name that would forge a line of the log.
TEST_F(SupervisedRunTest, ReportsTheCause) {
    const std::string header = testsupport::SHORTEST_HEADER;
    const std::string good = header + Payload(300);
    const std::string tooMany = header + std::string(size_t{65536} * 256, '\0');
    const std::string absent = "absent";
    const Arguments current = {"--revision", "19525"};
    const Arguments refusing = {"--faults", AtEveryAttempt("result=1")};
    const Arguments byCause = {"--exit-by-cause"};
    const struct {
        const char* cause;
        int exitValue;
        Arguments controller;
        std::string image;
        Arguments options;
        const char* why;
    } cases[] = {
        {"upgraded", 0, {"--faults", "result=1@1.1 id=7@1.2"}, good, {}, nullptr},
        {"already current", 255, current, good, {}, nullptr},
        {"already current", 4, current, good, byCause, nullptr},
        {"already current", 0, current, good, {"--current-ok"}, nullptr},
        {"upgraded", 0, current, good, {"-f"}, nullptr},
        {"image not opened", 255, {}, absent, {}, nullptr},
        {"not a TFI image", 255, {}, "no image", {}, nullptr},
        {"not a TFI image", 65, {}, "no image", byCause, nullptr},
        {"too many pages", 255, {}, tooMany, {}, nullptr},
        {"image can't be cut or read", 255, {}, header + Payload(257), {}, nullptr},
        {"page failed", 255, refusing, good, {}, "bad result"},
        {"page failed", 11, refusing, good, byCause, "bad result"},
        {"page failed", 255, {"--faults", AtEveryAttempt("id=7")}, good, {}, "other answer"},
        {"page failed", 255, {"--faults", "norearm silence@1.1"}, good, {}, "no answer"},
        {"page failed", 255, {"--faults", "die@1.1.100"}, good, {}, "send failed"},
        // The second page is refused, but an unrequested answer hides that from the tool.
        {"answer left unread", 23, {"--faults", "unasked=0@1.1.0 result=1@1.1"}, good, {}, nullptr},
    };
    const char* name = "a \"quoted\"\nDone\n";
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.cause) + testing::PrintToString(c.controller));
        std::filesystem::remove(path(name));
        if (c.image != absent) {
            i_directory.write(name, c.image);
        }
        Controller controller(i_directory, c.controller);
        const json answer = report(c.options, {name, "configuration"});
        const char* next = RowOf(c.cause).nextStep;
        ExpectMembers(answer,
                      {{"cause", c.cause}, {"exit_value", c.exitValue}, {"next_step", next}});
        EXPECT_EQ(i_result.exitValue, c.exitValue);
        EXPECT_THAT(i_result.err, HasSubstr("; " + std::string(next) + '\n'));
        EXPECT_EQ(LinesIn(i_result.err), 1) << i_result.err;
        EXPECT_NE(answer["failed_page"].is_null(), c.why != nullptr);
        if (c.why != nullptr) {
            ExpectMembers(answer,
                          {{"pages_sent", 1}, {"failed_page", {{"page", 1}, {"why", c.why}}}});
            EXPECT_EQ(answer["failed_page"]["attempts"].size(), 5U);
        }
        controller.stop();
    }
}

TEST_F(SupervisedRunTest, ReportsAnAssertion) {
    ASSERT_EQ(mkdir("/dev/shm/resource1", 0777), 0);
    const json answer = report({});
    ASSERT_EQ(rmdir("/dev/shm/resource1"), 0);
    EXPECT_EQ(i_result.exitValue, 128 + SIGABRT);
    ExpectMembers(answer, {{"cause", "assertion"},
                           {"tool", {{"signal", SIGABRT}}},
                           {"assertion",
                            "memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0)"}});
    EXPECT_EQ(answer["troubles"][0], "open failed /resource1 (Invalid argument)");
}

TEST_F(SupervisedRunTest, ReportsWhatWasSentAndWhere) {
    writeImage(Payload(300));
    Controller controller(i_directory, {"--revision", "7"});
    ExpectMembers(report({"--sha256-file", "sums"}),
                  {{"cause", "wrong digest"}, {"tool", {{"exit_value", nullptr}}}});
    ExpectMembers(report({"--quiet"}), {{"format", 1},
                                        {"image", {{"name", "image"}, {"size", 310}}},
                                        {"revision_before", 7},
                                        {"revision_after", TOOL_REVISION},
                                        {"tool", {{"exit_value", 0}}},
                                        {"recovered", false},
                                        {"verified", nullptr}});
    EXPECT_EQ(i_result.out + i_result.err, "");
    runOn({"--report", "-", "-f"});
    EXPECT_EQ(json::parse(i_result.out)["cause"], "upgraded");
    EXPECT_THAT(i_result.err, HasSubstr("Page 1 sent successfully"));
}

TEST_F(SupervisedRunTest, LeavesTheOutputUnchanged) {
    const std::string payload = Payload(700);
    writeImage(payload);
    Controller controller(i_directory);
    EXPECT_EQ(runOn({}).exitValue, 0);
    EXPECT_EQ(testsupport::Normalised(i_result.out), SuccessfulRun(payload).text());
    runOn(script("printf 'a\\0\\nb'; echo \"$@\" >&2; exit 7") + Arguments{"-f"});
    EXPECT_EQ(i_result.out, std::string("a\0\nb", 4));
    EXPECT_EQ(i_result.err, "-f image configuration\ntolmira_run: unknown; read the log\n");
    EXPECT_EQ(i_result.exitValue, 7);
    // A reader that goes away ends neither this program nor the tool.
    shell("{ \"$0\" -f image configuration; echo $? >value; } | head -n 1 >/dev/null");
    EXPECT_EQ(read("value"), "0\n");
}

// The log of 2000 pages is larger than a pipe's buffer.
TEST_F(SupervisedRunTest, DoesNotWaitForAReaderOfTheLog) {
    writeImage(Payload(size_t{256} * 2000));
    Controller controller(i_directory);
    const std::string command =
        "\"$0\" --report report image configuration | "
        "{ while [ ! -e go ]; do sleep 0.01; done; cat; }";
    Process reader("/bin/sh", {"-c", command, TOLMIRA_RUN}, i_directory.path(), "reader");
    ASSERT_TRUE(waitForFile("report")) << "though nobody has read anything";
    EXPECT_EQ(readReport()["cause"], "upgraded");
    EXPECT_EQ(read("reader.out"), "");
    EXPECT_EQ(runOn(SUCCEEDING).exitValue, 0) << "the lock is free";
    i_directory.write("go", "");
    EXPECT_THAT(reader.wait().out, HasSubstr("Page 1999 sent successfully\n"));
}

/** Expects an upgrade that succeeded and left the mailbox in order. */
void ExpectUpgraded(const json& answer, const Region& region) {
    ExpectMembers(answer, {{"cause", "upgraded"}, {"exit_value", 0}});
    EXPECT_EQ(region.byte(MAILBOX_RX_STATE), STATE_ABSENT);
    EXPECT_EQ(std::filesystem::file_size(LOCK_FILE), 0U) << "no marker";
}

TEST_F(SupervisedRunTest, SurvivesItsTerminal) {
    constexpr size_t places = 6;
    const std::string payload = Payload(256 * places);
    writeImage(payload);
    const Region region;
    for (const bool closed : {true, false}) {
        for (size_t place = 0; place < places; ++place) {
            SCOPED_TRACE((closed ? "closed at " : "interrupted at ") + std::to_string(place));
            std::filesystem::remove(path("report"));
            // The controller delays its answer to the page, so that the signal arrives there.
            Controller controller(i_directory,
                                  {"--faults", "late=1000@" + std::to_string(place) + ".1.4"});
            Terminal terminal(TOLMIRA_RUN, Arguments{"--report", "report"} + USUAL,
                              i_directory.path());
            EXPECT_TRUE(terminal.waitFor(place == 0 ? "6 pages"
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
                      payload.substr(0, 256 * places - 2) + std::string(2, '\0'));
        }
    }
}

TEST_F(SupervisedRunTest, IsInterruptedBySignals) {
    const struct {
        Arguments options;
        int signal;
        int times;
        /** Whether the signal arrives during the pages; otherwise there is no controller. */
        bool during;
        const char* cause;
    } cases[] = {
        {{}, SIGINT, 2, true, "broken off"},
        {{}, SIGTERM, 2, true, "broken off"},
        {{"--interruptible"}, SIGTERM, 1, true, "broken off"},
        {{}, SIGQUIT, 1, false, "stopped before the pages"},
    };
    writeImage(Payload(1000));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cause + testing::PrintToString(c.signal) + testing::PrintToString(c.times));
        std::optional<Controller> controller;
        if (c.during) {
            controller.emplace(i_directory, Arguments{"--faults", "late=2500@2.1.4"});
        } else {
            std::filesystem::remove(OBJECT);
        }
        Process runner = start(c.options, "runner");
        ASSERT_TRUE(runner.waitForOutput(c.during ? "Page 1 s" : "Controller isn't there"))
            << read("runner.out") << read("runner.err");
        kill(runner.pid(), c.signal);
        if (c.times == 2) {
            ASSERT_TRUE(WaitUntil(
                [&] { return read("runner.err").find("under way") != std::string::npos; }));
            kill(runner.pid(), c.signal);
        }
        const ProcessResult result = runner.wait();
        EXPECT_EQ(result.exitValue, 128 + c.signal);
        ExpectMembers(readReport(), {{"cause", c.cause}, {"signal", c.signal}});
        EXPECT_THAT(result.err, HasSubstr(RowOf(c.cause).nextStep));
        EXPECT_EQ(Region().byte(MAILBOX_RX_STATE), STATE_ABSENT) << "the clean pass";
    }
    Controller controller(i_directory);
    EXPECT_EQ(report({"-f"})["cause"], "upgraded");
}

/** The controller delays its answer to page 1. Meanwhile the runner is killed, then the tool. */
class KilledRunTest : public SupervisedRunTest {
  protected:
    void killInPage(const std::string& faults, bool toolToo) {
        i_controller.emplace(i_directory, Arguments{"--faults", faults});
        Process runner = start(script("echo $$ >pid; exec " TOLMIRA_UPGRADE " \"$@\""), "runner");
        ASSERT_TRUE(runner.waitForOutput("Page 0 s"));
        i_pid = runner.pid();
        runner.wait(std::chrono::seconds(0));
        EXPECT_EQ(runOn({}).exitValue, 75) << "the tool has the lock";
        if (toolToo) {
            kill(std::stoi(read("pid")), SIGKILL);
        }
    }

    /** The first run that isn't refused because the killed run's tool still runs. */
    json next() {
        json answer;
        do {
            answer = report({"-f"});
        } while (i_result.exitValue == 75);
        return answer;
    }

    std::optional<Controller> i_controller;
    int i_pid = 0;
};

TEST_F(KilledRunTest, IsReportedAndCleanedUpByTheNext) {
    writeImage(Payload(1000));
    for (const bool toolToo : {false, true}) {
        SCOPED_TRACE(toolToo);
        killInPage("late=2500@1.1.4", toolToo);
        EXPECT_FALSE(std::filesystem::exists(path("report")));
        ExpectMembers(next(), {{"cause", "upgraded"},
                               {"recovered", true},
                               {"previous_run", {{"pid", i_pid}, {"report", path("report")}}}});
        EXPECT_THAT(i_result.err, HasSubstr("making a clean pass"));
        EXPECT_TRUE(report({"-f"})["previous_run"].is_null());
        i_controller->stop();
    }
}

// Without the clean pass the answer to the killed run's page would count for page 0. Each page
// would get the verdict of the one before it, and that of the last one would never be read.
TEST_F(KilledRunTest, DoesNotHideARefusalOfTheLastPage) {
    writeImage(Payload(1000));
    killInPage("late=2500@1.1.4 " + AtEveryAttempt("result=1", 3), true);
    EXPECT_EQ(next()["cause"], "page failed");
    EXPECT_EQ(i_result.exitValue, 255);
}

TEST_F(SupervisedRunTest, TurnsTheDirectionOffOrRefuses) {
    Region region;
    region.setWord(MAILBOX_RX_STATE, STATE_READY);
    region.setWord(MAILBOX_TX_STATE, STATE_READY);
    ExpectMembers(report({"--tool", "/bin/false"}),
                  {{"cause", "receive direction stays up"}, {"recovered", false}});
    EXPECT_EQ(i_result.exitValue, 24);
    EXPECT_NE(std::filesystem::file_size(LOCK_FILE), 0U) << "the marker stays";
    region.setWord(MAILBOX_REVISION_HIGH, TOOL_REVISION >> 8);
    region.setWord(MAILBOX_REVISION_LOW, TOOL_REVISION & 0xFF);
    ExpectMembers(report({}),
                  {{"cause", "already current"},
                   {"recovered", true},
                   {"next_step", "if the killed run was sending pages, start again with -f"}});
}

TEST_F(SupervisedRunTest, RefusesToRunBesideAnother) {
    {
        Process tool(TOLMIRA_UPGRADE, USUAL, i_directory.path(), "tool");
        ASSERT_TRUE(tool.waitForOutput("Controller isn't there"));
        EXPECT_EQ(report({})["cause"], "another run");
        EXPECT_EQ(i_result.exitValue, 75);
        EXPECT_THAT(i_result.err, HasSubstr("another tolmira_upgrade is at work, pid " +
                                            std::to_string(tool.pid())));
    }
    {
        Process first = start(script("echo ready; exec sleep 100"), "first");
        ASSERT_TRUE(first.waitForOutput("ready"));
        EXPECT_EQ(runOn({}).exitValue, 75);
        EXPECT_EQ(i_result.out, "");
        EXPECT_THAT(i_result.err, HasSubstr("tolmira_run: another run is under way"));
        EXPECT_EQ(first.stop().exitValue, 128 + SIGTERM);
    }
    // Without the lock file, the tool's own lock remains.
    Process first = start({}, "first");
    ASSERT_TRUE(first.waitForOutput("Controller isn't there"));
    ASSERT_TRUE(std::filesystem::remove(LOCK_FILE));
    EXPECT_EQ(runOn({}).exitValue, 75);
}

// The terminal can't reach a process of another session. In addition, the tool ignores the signals
// of a terminal, and SIGTERM.
TEST_F(SupervisedRunTest, StartsTheToolOutOfTheTerminalsReach) {
    const std::string out = runOn(script("read -r _ _ _ _ _ session _ </proc/$$/stat; "
                                         "test $session = $$ && echo leader; "
                                         "sed -n 's/^SigIgn:.*\\(....\\)$/\\1/p' /proc/$$/status"))
                                .out;
    EXPECT_THAT(out, StartsWith("leader\n"));
    const unsigned long ignored =
        1UL << (SIGHUP - 1) | 1UL << (SIGINT - 1) | 1UL << (SIGQUIT - 1) | 1UL << (SIGTERM - 1);
    EXPECT_EQ(std::stoul(out.substr(out.find('\n') + 1), nullptr, 16) & ignored, ignored) << out;
}

TEST_F(SupervisedRunTest, ChecksTheLockFile) {
    const std::function<void()> makers[] = {
        [] { ASSERT_EQ(symlink("elsewhere", LOCK_FILE), 0); },
        [] { ASSERT_EQ(mkfifo(LOCK_FILE, 0666), 0); },
        [] { ASSERT_EQ(mkdir(LOCK_FILE, 0777), 0); },
    };
    for (const auto& make : makers) {
        make();
        EXPECT_EQ(report(SUCCEEDING)["cause"], "cannot lock");
        EXPECT_EQ(i_result.exitValue, 73);
        std::filesystem::remove(LOCK_FILE);
    }
    std::ofstream(LOCK_FILE) << "no marker";
    chmod(LOCK_FILE, 0);
    ExpectMembers(report(SUCCEEDING), {{"previous_run", {{"pid", 0}}}, {"recovered", true}});
    EXPECT_EQ(i_result.exitValue, 0);
    // A marker that can't be written: no file may grow.
    EXPECT_EQ(shell("ulimit -f 0; exec \"$0\" \"$@\"", SUCCEEDING + USUAL).exitValue, 73);
    // Removed between its opening and the lock: the lock is then taken on a new file.
    const std::string lock = LOCK_FILE;
    const Arguments run = Preloaded("REMOVED_BEFORE_LOCK=" + lock) + script("cat " + lock) + USUAL;
    EXPECT_THAT(runProgram("/usr/bin/env", run).out, StartsWith("{\"pid\":"));
}

TEST_F(SupervisedRunTest, BoundsTheMemoryForAnEndlessLine) {
    shell("exec \"$0\" \"$@\" >/dev/null",
          Arguments{"--report", "report"} +
              script("head -c 150000000 /dev/zero | tr '\\0' x; exit 255") + USUAL);
    EXPECT_EQ(i_result.exitValue, 255);
    EXPECT_EQ(readReport()["cause"], "unknown");
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory for a while
    rusage children = {};
    getrusage(RUSAGE_CHILDREN, &children);
    EXPECT_LT(children.ru_maxrss, 100000) << "KiB";
#endif
}

TEST_F(SupervisedRunTest, ReportsAnUnreadableMailbox) {
    ASSERT_EQ(mkfifo(OBJECT, 0666), 0);
    EXPECT_EQ(report({})["cause"], "mailbox unreadable");
    EXPECT_EQ(i_result.exitValue, 74);
    std::filesystem::remove(OBJECT);
    // With full shared memory the tool would end with SIGBUS.
    std::ofstream(OBJECT).flush();
    std::filesystem::resize_file(OBJECT, REGION_SIZE);
    const testsupport::FullSharedMemory memory;
    if (!memory.full()) {
        GTEST_SKIP() << "the machine doesn't permit a private /dev/shm";
    }
    EXPECT_EQ(report({})["cause"], "mailbox unreadable");
    EXPECT_EQ(i_result.exitValue, 74);
    EXPECT_THAT(i_result.err,
                HasSubstr("cannot allocate the mailbox in /resource0: No space left"));
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
        {{"--progress", "json", "image", "configuration"}, 2, 2, "wrong usage"},
        {{"--progress-fd", "99", "--progress", "json", "image", "c"}, 2, 2, "wrong usage"},
        {{"image"}, 2, 2, "wrong usage"},
        {{"--tool", "no/such/tool", "image", "configuration"}, 127, 71, "cannot start"},
        {{"pipe", "configuration"}, 28, 28, "image refused"},
        {{"--check", "image", "configuration"}, 1, 66, "image not opened"},
    };
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        EXPECT_EQ(report({}, c.arguments)["cause"], c.cause);
        EXPECT_EQ(i_result.exitValue, c.exitValue);
        EXPECT_EQ(LinesIn(i_result.err), 1) << i_result.err;
        EXPECT_EQ(report({"--exit-by-cause"}, c.arguments)["exit_value"], c.exitByCause);
        EXPECT_EQ(i_result.exitValue, c.exitByCause);
    }
}

TEST_F(SupervisedRunTest, WritesAReportWholeOrNotAtAll) {
    writeImage(Payload(300));
    const std::string image = read("image");
    const Arguments tool = script("exit 0");
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const char* file : {"no/such/file", "pipe", "/dev/full", "image", "./configuration",
                             "script", LOCK_FILE, "."}) {
        SCOPED_TRACE(file);
        std::ofstream(LOCK_FILE).flush();
        EXPECT_EQ(runOn(Arguments{"--report", file} + tool).exitValue, 73);
        EXPECT_THAT(i_result.err, HasSubstr("--report -"));
        EXPECT_EQ(read("image"), image);
    }
    std::filesystem::create_symlink("target", path("report"));
    runOn(Arguments{"--report", "report"} + tool);
    EXPECT_TRUE(std::filesystem::is_symlink(path("report")));
    EXPECT_EQ(readReport()["cause"], "unknown");
    ASSERT_EQ(mkdir(path("disk").c_str(), 0700), 0);
    if (mount("tmpfs", path("disk").c_str(), "tmpfs", 0, "size=32k") != 0) {
        GTEST_SKIP() << "the machine doesn't permit mounting";
    }
    i_directory.write("disk/report", "old");
    const Arguments onDisk = {"--report", "disk/report"};
    runOn(onDisk + script("head -c 100000 /dev/zero >disk/fill 2>/dev/null; exit 0"));
    EXPECT_EQ(i_result.exitValue, 0);
    EXPECT_THAT(i_result.err, HasSubstr("No space left on device; an existing report is unch"));
    EXPECT_EQ(read("disk/report"), "old");
    EXPECT_EQ(runOn(onDisk).exitValue, 73);
    umount(path("disk").c_str());
}

TEST_F(SupervisedRunTest, RefusesADirectoryWithoutWritePermission) {
    constexpr uid_t nobody = 65534;
    const std::string directory = i_directory.path();
    chmod((directory + "/..").c_str(), 0755);
    chmod(directory.c_str(), 0555);
    const auto result = testsupport::RunInChild([&] {
        const bool root = geteuid() == 0;
        if ((root && (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0)) ||
            chdir(directory.c_str()) != 0 || access(TOLMIRA_RUN, X_OK) != 0) {
            _exit(77);
        }
        execl(TOLMIRA_RUN, TOLMIRA_RUN, "--report", "report", "image", "configuration", nullptr);
    });
    chmod(directory.c_str(), 0755);
    if (result.exitValue == 77) {
        GTEST_SKIP() << "another user can't run the program here";
    }
    EXPECT_EQ(result.exitValue, 73);
    EXPECT_EQ(result.out, "") << "the tool has not run";
    EXPECT_THAT(result.err, StartsWith("tolmira_run: cannot write the report report: Permission"));
}

// The clock is set while the tool waits for an answer. Set forward, it ends that wait, and all
// further attempts at the page may come before the controller is ready again.
TEST_F(SupervisedRunTest, SurvivesTheClockBeingSet) {
    writeImage(Payload(1000));
    const long hour = 3600;
    for (const long seconds : {-hour, hour}) {
        SCOPED_TRACE(seconds);
        std::filesystem::remove(path("clock"));
        Controller controller(i_directory, {"--faults", "late=1000@1.1"});
        Process runner("/usr/bin/env",
                       Preloaded("SET_CLOCK=" + path("clock")) +
                           Arguments{"--report", "report", "--verify"} + USUAL,
                       i_directory.path(), "runner");
        ASSERT_TRUE(WaitUntil([&] {
            return read("controller.out").find("fault: late=1000@1.1") != std::string::npos;
        }));
        i_directory.write("new", std::to_string(seconds));
        std::filesystem::rename(path("new"), path("clock"));
        const int exitValue = runner.wait().exitValue;
        const json answer = readReport();
        if (seconds > 0 && exitValue != 0) {
            ExpectMembers(answer, {{"cause", "page failed"}, {"verified", nullptr}});
        } else {
            ExpectMembers(answer, {{"cause", "upgraded"}, {"verified", true}});
        }
        EXPECT_EQ(answer["end"] < answer["start"], seconds < 0) << "the wall clock was set";
        EXPECT_GE(answer["seconds"], 0);
        EXPECT_LT(answer["seconds"], hour) << "the steady clock was not set";
    }
}

TEST_F(SupervisedRunTest, DoesNotSendAnImageWithAnotherDigest) {
    writeImage(Payload(300));
    const std::string good = sha256Of("image");
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
        EXPECT_EQ(runOn(c.options + SUCCEEDING, {c.image, "configuration"}).exitValue, c.exitValue);
    }
}

TEST_F(SupervisedRunTest, SendsTheBytesThatWereChecked) {
    const std::string payload = Payload(1000);
    writeImage(payload);
    Process runner = start({"--sha256", sha256Of("image")}, "runner");
    ASSERT_TRUE(runner.waitForOutput("Controller isn't there"));
    writeImage(Payload(2000).substr(1000));
    Controller controller(i_directory);
    EXPECT_EQ(runner.wait().exitValue, 0);
    EXPECT_EQ(controller.flash().substr(0, 998), payload.substr(0, 998));
}

TEST_F(SupervisedRunTest, WaitsForAControllerAsLongAsAsked) {
    writeImage(Payload(300));
    EXPECT_EQ(report({"--wait", "0"})["cause"], "controller missing");
    EXPECT_EQ(i_result.exitValue, 1);
    EXPECT_EQ(i_result.out, "") << "the tool has not run";
    Process runner = start({"--wait", "60"}, "runner");
    const Controller controller(i_directory);
    EXPECT_THAT(runner.wait().out, testing::Not(HasSubstr("isn't there")));
}

TEST_F(SupervisedRunTest, VerifiesTheNewRevision) {
    const struct {
        const char* what;
        /** Address 10 and the revision at first, and after some time. */
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
        Process runner = start(
            Arguments{"--verify", "--verify-seconds", c.seconds} + script("echo ready"), "runner");
        ASSERT_TRUE(runner.waitForOutput("ready"));
        set(c.laterState, c.laterRevision);
        EXPECT_EQ(runner.wait().exitValue, c.exitValue);
        const json after = c.laterState == 0 ? json() : json(c.laterRevision);
        ExpectMembers(readReport(), {{"verified", c.exitValue == 0}, {"revision_after", after}});
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
    EXPECT_EQ(testsupport::Normalised(read("out")), SuccessfulRun(payload).text());
}

TEST_F(SupervisedRunTest, WritesProgressAsJson) {
    writeImage(Payload(300));
    const Controller controller(i_directory, {"--faults", "late=500@1.1"});
    shell("exec \"$0\" --progress json --progress-fd 7 image configuration 7>progress");
    std::ifstream file(path("progress"));
    std::vector<json> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(json::parse(line));
    }
    ASSERT_GE(lines.size(), 2U);
    ExpectMembers(lines[0], {{"phase", "pages"}, {"pages", 2}});
    EXPECT_EQ(lines.back(),
              json({{"format", 1}, {"phase", "ended"}, {"cause", "upgraded"}, {"exit_value", 0}}));
}

}  // namespace
