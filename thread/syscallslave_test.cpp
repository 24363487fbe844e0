#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "cpputils/include/pipeio.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/systemcalls.h"
#include "tests/support/testdirectory.h"
#include "thread/childprocess.h"
#include "thread/pipeends.h"
#include "thread/shellcommand.h"
#include "thread/slavecommands.h"

namespace {

[[noreturn]] void BecomeSlave(const std::string& readFd, const std::string& writeFd) {
    execl(SYSCALLSLAVE, SYSCALLSLAVE, readFd.c_str(), writeFd.c_str(), nullptr);
    EndFailedExec();
}

/** The slave program, with access to the bytes of its two pipes. */
class Slave {
  public:
    Slave() {
        EXPECT_EQ(i_commands.create() + i_results.create(), 0);
        i_pid = fork();
        if (i_pid == 0) {
            KeepOnExec(i_commands.readEnd());
            KeepOnExec(i_results.writeEnd());
            BecomeSlave(std::to_string(i_commands.readEnd()), std::to_string(i_results.writeEnd()));
        }
        i_commands.closeRead();
        i_results.closeWrite();
    }

    void send(const std::string& bytes) {
        EXPECT_EQ(write(i_commands.writeEnd(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }
    std::string receive(size_t count) {
        std::string bytes;
        unsigned char byte = 0;
        while (bytes.size() < count && ReadByte(i_results.readEnd(), byte) == 0) {
            bytes.push_back(static_cast<char>(byte));
        }
        return bytes;
    }
    /** Closes the pipes; returns the exit value. */
    int leave() {
        i_commands.close();
        i_results.close();
        int status = -1;
        EXPECT_EQ(waitpid(i_pid, &status, 0), i_pid);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    PipeEnds i_commands;
    PipeEnds i_results;
    pid_t i_pid;
};

std::string Number(unsigned value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string Text(const std::string& text) {
    return Number(static_cast<unsigned>(text.size())) + text;
}

TEST(SyscallSlave, SpeaksTheProtocolAndDropsLateMarks) {
    Slave slave;
    const std::string result = Number(0) + Number(3 << 8) + Text("out") + Text("error");
    for (const char* echo : {"A", "\xFE\xFF\xFEz", "A"}) {
        slave.send(Text("printf out; printf error >&2; exit 3"));
        EXPECT_EQ(slave.receive(1), "A");
        slave.send(echo);
        EXPECT_EQ(slave.receive(result.size()), result);
    }
    EXPECT_EQ(slave.leave(), 1);
}

TEST(SyscallSlave, LetsACommandEndWithoutThreads) {
    const struct {
        int threads;
        const char* stdout;
        const char* failure;
    } cases[] = {
        {0, "", "Could not start the capture threads"},
        {1, "begun\nended\n", "Could not start the capture threads"},
        {2, "begun\nended\n", "Could not start the interrupt thread"},
    };
    const testsupport::TestDirectory directory;
    PipeEnds marks;
    ASSERT_EQ(marks.create(), 0);
    const auto descriptors = testsupport::CountDescriptors();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.threads);
        const std::string ended = std::to_string(c.threads);
        // Writes more than a pipe holds to an output that may have no reader.
        const std::string command = "trap '' PIPE; echo begun; head -c 100000 /dev/zero >&2; " +
                                    ("echo ended; echo >" + directory.path(ended));
        testsupport::LimitThreadStarts(c.threads);
        const SystemCaller::RC result = RunShellCommand(command, marks.readEnd(), true);
        testsupport::AllowThreadStarts();
        EXPECT_EQ(result.localRC, -1);
        EXPECT_EQ(result.commandRC, 0);
        EXPECT_EQ(result.stdout, c.stdout);
        EXPECT_EQ(result.stderr, c.failure);
        EXPECT_EQ(directory.read(ended), "\n");
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);  // no child, living or dead
        EXPECT_EQ(testsupport::CountDescriptors(), descriptors);
    }
}

TEST(SyscallSlave, LogsWhichStepOfTheProtocolFailed) {
    const struct {
        int writes;  // to the master, before a failure
        bool echo;
        const char* line;
    } cases[] = {
        {0, true, "ACK write failed Input/output error"},
        {9, false, "ACK read failed Broken pipe"},
        {1, true, "Write localRC failed Input/output error"},
        {2, true, "Write commandRC failed Input/output error"},
        {3, true, "Write stdout failed Input/output error"},
        {5, true, "Write stderr failed Input/output error"},
        {9, true, "Read command failed Broken pipe"},
    };
    for (const auto& c : cases) {
        const auto child = testsupport::RunInChild([&c] {
            PipeEnds commands;
            PipeEnds results;
            EXPECT_EQ(commands.create(), 0);
            EXPECT_EQ(results.create(), 0);
            EXPECT_EQ(WriteString(commands.writeEnd(), "true"), 0);
            int written = 0;
            testsupport::HookWrites([&](int fd, const void* bytes, size_t count) -> ssize_t {
                if (fd == results.writeEnd() && written == c.writes) {
                    return testsupport::FailingWrite(fd, bytes, count);
                }
                if (fd == results.writeEnd() && written++ == 0) {
                    testsupport::CallWrite(commands.writeEnd(), "A", c.echo ? 1 : 0);
                    commands.closeWrite();
                }
                return testsupport::CallWrite(fd, bytes, count);
            });
            exit(SlaveAppProcessCommands(commands.readEnd(), results.writeEnd()));
        });
        EXPECT_EQ(child.exitValue, 1);
        EXPECT_THAT(child.out, testing::HasSubstr(std::string("\"") + c.line +
                                                  "\" at thread/slavecommands.cpp:"));
        EXPECT_THAT(child.out, testing::HasSubstr("S: ERROR "));
    }
}

TEST(SyscallSlave, RefusesWrongArguments) {
    const std::pair<const char*, const char*> cases[] = {
        {"3", ""}, {"x", "4"}, {"3", "4x"}, {"-1", "4"}, {"3", "4294967299"}};
    for (const auto& c : cases) {
        const auto child = testsupport::RunInChild([&] { BecomeSlave(c.first, c.second); });
        EXPECT_EQ(child.exitValue, 2) << c.first << ' ' << c.second;
        EXPECT_THAT(child.err, testing::StartsWith("usage: "));
    }
}

}  // namespace
