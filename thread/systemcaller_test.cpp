#include "thread/systemcaller.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <type_traits>

#include "cpputils/include/pipeio.h"
#include "cpputils/include/returncodes.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/systemcalls.h"
#include "tests/support/testdirectory.h"
#include "tests/support/timingoutslave.h"
#include "thread/threadregistrar.h"

using testing::ContainsRegex;
using testing::HasSubstr;
using testsupport::CountDescriptors;
using testsupport::CountEntries;
using testsupport::RunInChild;
using testsupport::TestDirectory;

namespace {

// The caller's header declares both.
static_assert(std::is_base_of_v<InterruptAction, InterruptProcess>);
static_assert(std::is_base_of_v<InterruptAction, InterruptForwarder>);

bool isSlaveStarted = false;

/** Every test starts and ends without a slave. */
class SystemCallerTest : public testing::Test {
  protected:
    ~SystemCallerTest() override {
        SystemCaller::instance().destroy();
        isSlaveStarted = false;
    }
};

/** The caller with the slave of this build. */
SystemCaller& Caller() {
    if (!isSlaveStarted) {
        SystemCaller::instance().initialize(SYSCALLSLAVE);
        isSlaveStarted = true;
    }
    return SystemCaller::instance();
}

TEST_F(SystemCallerTest, LeaksNothingWithoutASlave) {
    const auto noPipes = RunInChild([] {
        const auto descriptors = CountDescriptors();
        PipeEnds next;
        EXPECT_EQ(next.create(), 0);
        const auto limit = static_cast<rlim_t>(next.writeEnd()) + 2;  // a pipe and a half
        next.close();
        testsupport::LimitDescriptors(limit);
        bool right = true;
        for (int i = 0; i < 20; ++i) {
            right &= SystemCaller::instance().execLogged("true") == e_Error_NotInitialized;
        }
        testsupport::LimitDescriptors(limit + 10);  // to count them
        exit(right && CountDescriptors() == descriptors ? 0 : 1);
    });
    EXPECT_EQ(noPipes.exitValue, 0);
    for (const char* line :
         {"ERROR T: p:[0-9]+ \"Could not create SystemCaller pipes\"",
          "CRITICAL T: p:[0-9]+ \"SystemCaller cannot be initialized\"",
          "WARNING T: p:[0-9]+ \"Syscall: true failed. localRC: 61186 commandRC: 0\"",
          "WARNING T: p:[0-9]+ \"stderr: SystemCaller cannot be initialized\""}) {
        EXPECT_THAT(noPipes.out, ContainsRegex(line));
    }

    const auto noSlave = RunInChild([] {
        SystemCaller::instance().initialize("/no such directory/program");
        const SystemCaller::RC result = SystemCaller::instance().exec("true", nullptr, nullptr);
        SystemCaller::instance().destroy();
        exit(result.localRC == -1 && waitpid(-1, nullptr, WNOHANG) == -1 ? 0 : 1);
    });
    EXPECT_EQ(noSlave.exitValue, 0);
}

TEST_F(SystemCallerTest, LogsAtExitAndStopsACriticalThread) {
    const auto unused = RunInChild([] {
        SystemCaller::instance();
        exit(0);
    });
    EXPECT_EQ(unused.exitValue, 0) << unused.err;
    EXPECT_THAT(unused.out, HasSubstr("S: CRITICAL T: p:"));
    EXPECT_THAT(unused.out, HasSubstr("\"Destroying slave process\" at thread/systemcaller.cpp:"));

    const auto critical = RunInChild([] {
        EXPECT_EQ(ThreadRegistrar::instance().registerFieldMain(0), 0);
        (void)SystemCaller::instance().exec("true", nullptr, nullptr);
    });
    EXPECT_EQ(critical.signal, SIGABRT);
    EXPECT_THAT(critical.out, HasSubstr("ASSERT_BLOCKABLE_THREAD Failed"));
}

TEST_F(SystemCallerTest, LeavesNoSlaveAndNoCommandWhenItsProcessIsKilled) {
    const TestDirectory directory;
    const std::string fifo = directory.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), S_IRWXU), 0);
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);  // this process adopts the orphaned slave
    const pid_t master = fork();
    if (master == 0) {
        SystemCaller::instance().initialize(SYSCALLSLAVE);
        (void)SystemCaller::instance().execTimed(
            "exec 5>" + fifo + "; echo $PPID >&5; sleep 60 & sleep 60", 600, nullptr);
        _exit(1);
    }
    std::ifstream command(fifo);
    pid_t slave = 0;
    EXPECT_TRUE(command >> slave);
    EXPECT_EQ(kill(master, SIGKILL), 0);
    EXPECT_EQ(waitpid(master, nullptr, 0), master);
    std::string rest;
    EXPECT_FALSE(command >> rest);  // end of file when the whole group has ended
    int status = 0;
    EXPECT_EQ(waitpid(slave, &status, 0), slave);
    EXPECT_EQ(status, 1 << 8);
    while (waitpid(-1, nullptr, 0) > 0) {  // the rest of the command
    }
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

SystemCaller::RC Exec(const std::string& command) {
    return Caller().exec(command, nullptr, nullptr);
}

/** Writes `mark` when the command opens the fifo and writes to it. */
class MarkOnFifo : public Interrupter {
  public:
    MarkOnFifo(unsigned char mark, const std::string& fifo) : i_mark(mark), i_fifo(fifo) {}
    void attachInterruptFd(int fd) override {
        std::string line;
        std::getline(std::ifstream(i_fifo) >> std::ws, line);
        EXPECT_EQ(WriteByte(fd, i_mark), 0);
    }
    void detachInterruptFd(int /*fd*/) override {}
    void commandFinished() override { ++finished; }

    int finished = 0;

  private:
    const unsigned char i_mark;
    const std::string i_fifo;
};

/** As in a host that handles signals itself. */
void StartSlaveWithSignalsOff() {
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &previous);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_IGN);
    Caller();
    signal(SIGCHLD, SIG_DFL);
    signal(SIGPIPE, SIG_DFL);
    sigprocmask(SIG_SETMASK, &previous, nullptr);
}

TEST_F(SystemCallerTest, ReturnsStatusAndOutputOfACommandThatStartsClean) {
    StartSlaveWithSignalsOff();
    const std::string big(100'000, 'x');
    const std::string printBig = "head -c 100000 /dev/zero | tr '\\0' x";
    const struct {
        std::string command;
        int commandRC;
        std::string out;
        std::string err;
    } cases[] = {
        {"", 0, "", ""},
        {"printf out; printf err >&2; exit 3", 768, "out", "err"},
        {"kill -TERM $$", SIGTERM, "", ""},
        {"printf 'a\\0\\377b'", 0, std::string("a\0\377b", 4), ""},
        {printBig + " & " + printBig + " >&2; wait", 0, big, big},
        {"yes | head -1", 0, "y\n", ""},
        {"nice; cut -d' ' -f5 /proc/$$/stat | grep -qx $$ && echo leader", 0, "19\nleader\n", ""},
        {"ls -x /proc/self/fd", 0, "0  1  2  3\n", ""},
        {"while kill -0 $$; do :; done 2>/dev/null && echo late & echo early", 0, "early\nlate\n",
         ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command);
        const SystemCaller::RC result = Exec(c.command);
        EXPECT_EQ(result.localRC, 0);
        EXPECT_EQ(result.commandRC, c.commandRC);
        EXPECT_EQ(result.stdout, c.out);
        EXPECT_EQ(result.stderr, c.err);
    }
    const pid_t background = atoi(Exec("sleep 60 >/dev/null 2>&1 & echo $!").stdout.c_str());
    EXPECT_EQ(kill(background, SIGKILL), 0);  // it still runs
}

TEST_F(SystemCallerTest, InterruptsTheWholeGroupAndKeepsTheOutput) {
    const TestDirectory directory;
    const std::string fifo = directory.path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), S_IRWXU), 0);
    const struct {
        unsigned char mark;
        const char* onTerm;
        const char* message;
        int localRC;
        int commandRC;
        const char* out;
    } cases[] = {
        {INTERRUPT_MARK, "", "Interrupted", -1, SIGKILL, "kept\n"},
        {TIMEOUT_MARK, "sleep 0.1; echo ended; exit 3", "Timeout Occured", e_Error_Timeout, 768,
         "kept\nended\n"},
    };
    int finished = 0;
    for (const auto& c : cases) {
        MarkOnFifo interrupter(c.mark, fifo);
        const SystemCaller::RC result =
            Caller().exec(std::string("trap '") + c.onTerm +
                              "' TERM; echo kept; sleep 60 & echo up >" + fifo + "; wait",
                          &interrupter, nullptr);
        EXPECT_EQ(result.localRC, c.localRC);
        EXPECT_EQ(result.commandRC, c.commandRC);
        EXPECT_EQ(result.stdout, c.out);
        EXPECT_EQ(result.stderr, c.message);
        finished += interrupter.finished;
    }
    EXPECT_EQ(finished, 2);
}

TEST_F(SystemCallerTest, RepeatsACommandThatTimesOut) {
    const TestDirectory directory;
    const std::string runs = directory.path("runs");
    constexpr timeval brief = {0, 500'000};
    // Under load a run may time out before its first command; then one more run follows.
    const std::string secondTimeGood =
        "[ -e " + runs + " ] && exit 3; touch " + runs + "; sleep 60";
    EXPECT_EQ(Caller().execRetry(secondTimeGood, &brief, -1).commandRC, 768);
}

TEST_F(SystemCallerTest, RepeatsAsOftenAsRequested) {
    const TestDirectory directory;
    SystemCaller::instance().initialize(testsupport::WriteTimingOutSlave(directory));
    std::string commands;
    for (const int retries : {0, 1, 3}) {
        EXPECT_EQ(SystemCaller::instance().execRetry("x", nullptr, retries).localRC,
                  e_Error_Timeout);
        for (int run = 0; run <= retries; ++run) {
            commands += "x\n";
        }
        EXPECT_EQ(directory.read("syscallslave.commands"), commands);
    }
}

// A slave that was not killed would write another file.
TEST_F(SystemCallerTest, EndsASlaveThatIgnoresSigterm) {
    const TestDirectory directory;
    ASSERT_EQ(mkfifo(directory.path("syscallslave.up").c_str(), S_IRWXU), 0);
    const std::string path = directory.write("syscallslave",
                                             "#!/bin/sh\ntrap '' TERM; echo up >\"$0.up\"\n"
                                             "sleep 20 >/dev/null 2>&1; echo >\"$0.ended\"");
    chmod(path.c_str(), S_IRWXU);
    SystemCaller::instance().initialize(path);
    EXPECT_EQ(directory.read("syscallslave.up"), "up\n");
    SystemCaller::instance().destroy();
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_NE(access(directory.path("syscallslave.ended").c_str(), F_OK), 0);
}

TEST_F(SystemCallerTest, ReportsFailuresOfTheLink) {
    const timeval longTime = {600, 0};
    const struct {
        int firstFailure;  // of the writes, from 0
        int lastFailure;
        const timeval* timeout;
        const char* failure;
        const char* line;
    } cases[] = {
        {0, INT_MAX, nullptr, "Could not send command true down the pipe",
         "CRITICAL T: p:[0-9]+ \"Could not send command true down the pipe\""},
        {2, 2, nullptr, "Pipe write failed Input/output error",
         "CRITICAL T: p:[0-9]+ \"Pipe write failed Input/output error\""},
        {2, 2, &longTime, "Could not stop interrupt thread",
         "CRITICAL T: p:[0-9]+ \"Could not send done command down the pipe \\(Input/output "
         "error\\)\"[^\n]*\n[^\n]*ERROR T: p:[0-9]+ \"Could not stop interrupt thread\""},
    };
    for (const auto& c : cases) {
        const auto child = RunInChild([&c] {
            Caller();
            std::atomic<int> writes{0};
            testsupport::HookWrites([&](int fd, const void* bytes, size_t count) -> ssize_t {
                const int number = writes++;
                const bool fails = number >= c.firstFailure && number <= c.lastFailure;
                return fails ? testsupport::FailingWrite(fd, bytes, count)
                             : testsupport::CallWrite(fd, bytes, count);
            });
            const SystemCaller::RC result = Caller().exec("true", nullptr, c.timeout);
            testsupport::HookWrites(nullptr);
            exit(result.localRC == -1 && result.stderr == c.failure ? 0 : 1);
        });
        EXPECT_EQ(child.exitValue, 0);
        EXPECT_THAT(child.out, ContainsRegex(c.line));
    }
}

/** The open descriptors of another program that this process starts. */
std::string InheritedDescriptors() {
    FILE* const list = popen("exec ls /proc/self/fd", "r");
    std::string text;
    for (int c = fgetc(list); c != EOF; c = fgetc(list)) {
        text.push_back(static_cast<char>(c));
    }
    EXPECT_EQ(pclose(list), 0);
    return text;
}

TEST_F(SystemCallerTest, ReplacesASlaveThatDies) {
    Caller();
    const auto descriptors = CountDescriptors();
    const pid_t slave = atoi(Exec("echo $PPID").stdout.c_str());
    ASSERT_GT(slave, 1);
    kill(slave, SIGKILL);
    siginfo_t end = {};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(slave), &end, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(Exec("echo again").stdout, "again\n");

    const SystemCaller::RC broken = Exec("kill -KILL $PPID");
    EXPECT_EQ(broken.localRC, -1);
    EXPECT_EQ(broken.stderr, "Pipe read failed 0 Success");
    EXPECT_EQ(CountDescriptors(), descriptors - 2);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);  // no child, living or dead
    const std::string inherited = InheritedDescriptors();
    EXPECT_EQ(Exec("exit 3").commandRC, 768);
    EXPECT_EQ(InheritedDescriptors(), inherited);  // otherwise the slave would outlive this process
    for (int i = 0; i < 3; ++i) {
        Caller().initialize(SYSCALLSLAVE);
        EXPECT_EQ(Exec("echo new").stdout, "new\n");
    }
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(SystemCallerTest, FailsIfItCannotBeInterrupted) {
    class CountingInterrupter : public Interrupter {
      public:
        void attachInterruptFd(int /*fd*/) override { ++attached; }
        void detachInterruptFd(int /*fd*/) override {}
        void commandFinished() override { ++finished; }
        int attached = 0;
        int finished = 0;
    } interrupter;
    Caller();
    const auto descriptors = CountDescriptors();
    testsupport::LimitThreadStarts(0);
    const SystemCaller::RC result = Caller().exec("printf out; exit 3", &interrupter, nullptr);
    testsupport::AllowThreadStarts();
    EXPECT_EQ(result.localRC, -1);
    EXPECT_EQ(result.commandRC, 768);
    EXPECT_EQ(result.stdout, "out");
    EXPECT_EQ(result.stderr, "Could not start interrupt thread");
    EXPECT_EQ(interrupter.attached, 0);
    EXPECT_EQ(interrupter.finished, 1);
    EXPECT_EQ(CountDescriptors(), descriptors - 2);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(Caller().execTimed("", 600, &interrupter), 0);
    EXPECT_EQ(interrupter.attached, 1);
    EXPECT_EQ(interrupter.finished, 2);
}

TEST_F(SystemCallerTest, LeaksNothingInAThousandCommands) {
    const std::string slave = Exec("printf %d $PPID").stdout;
    // The first thread of a process may start one of the sanitizer's, which stays.
    ASSERT_EQ(Caller().execTimed("", 600, nullptr), 0);
    const auto slaveDescriptors = CountEntries("/proc/" + slave + "/fd");
    const auto descriptors = CountDescriptors();
    const auto threads = CountEntries("/proc/" + slave + "/task") + CountEntries("/proc/self/task");
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(Caller().execTimed("", 600, nullptr), 0);
    }
    EXPECT_EQ(Exec("printf %d $PPID").stdout, slave);
    EXPECT_EQ(CountEntries("/proc/" + slave + "/fd"), slaveDescriptors);
    EXPECT_EQ(CountDescriptors(), descriptors);
    std::string child;
    std::ifstream("/proc/" + slave + "/task/" + slave + "/children") >> child;
    EXPECT_EQ(child, "");
    // A joined thread is listed until the kernel has removed it.
    while (CountEntries("/proc/" + slave + "/task") + CountEntries("/proc/self/task") > threads) {
        std::this_thread::yield();
    }
}

}  // namespace
