#include "cpputils/include/pipeio.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "tests/support/child.h"

namespace {
bool closeRangeMissing = false;
}

/** Replaces the C library's, to simulate a kernel without the system call. */
extern "C" int close_range(unsigned first, unsigned last, int flags) noexcept {
    if (closeRangeMissing) {
        errno = ENOSYS;
        return -1;
    }
    return static_cast<int>(syscall(SYS_close_range, first, last, flags));
}

namespace {

class Pipe {
  public:
    Pipe() { EXPECT_EQ(pipe2(i_ends, O_NONBLOCK), 0); }
    ~Pipe() {
        closeReader();
        closeWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reader() const { return i_ends[0]; }
    int writer() const { return i_ends[1]; }
    void closeReader() { close(std::exchange(i_ends[0], -1)); }
    void closeWriter() { close(std::exchange(i_ends[1], -1)); }
    void put(const std::string& bytes) const {
        EXPECT_EQ(write(writer(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    std::string rest() const {
        char bytes[256];
        const ssize_t count = read(reader(), bytes, sizeof bytes);
        return count > 0 ? std::string(bytes, static_cast<size_t>(count)) : "";
    }

  private:
    int i_ends[2] = {-1, -1};
};

std::string NumberBytes(uint32_t number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

TEST(PipeIO, WritesLengthAndContentInHostOrder) {
    const Pipe pipe;
    EXPECT_EQ(WriteString(pipe.writer(), "abc"), 0);
    EXPECT_EQ(WriteString(pipe.writer(), ""), 0);
    EXPECT_EQ(WriteBytes(pipe.writer(), {'\0', '\xff'}), 0);
    EXPECT_EQ(WriteInt(pipe.writer(), -2), 0);
    EXPECT_EQ(pipe.rest(), NumberBytes(3) + "abc" + NumberBytes(0) + NumberBytes(2) +
                               std::string("\0\xff", 2) + NumberBytes(0xFFFFFFFE));
}

TEST(PipeIO, ReadsItemsAndNoByteMore) {
    const Pipe pipe;
    const std::string content("a\0b\xff", 4);
    pipe.put(NumberBytes(4) + content + NumberBytes(0) + NumberBytes(4) + content +
             NumberBytes(0xFFFFCFC7) + "tail");
    std::string text = "old";
    std::vector<char> bytes(10);
    int number = 0;
    EXPECT_EQ(ReadString(pipe.reader(), text), 0);
    EXPECT_EQ(text, content);
    EXPECT_EQ(ReadString(pipe.reader(), text), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(ReadBytes(pipe.reader(), bytes), 0);
    EXPECT_EQ(bytes, std::vector<char>(content.begin(), content.end()));
    EXPECT_EQ(ReadInt(pipe.reader(), number), 0);
    EXPECT_EQ(number, -12345);
    EXPECT_EQ(pipe.rest(), "tail");
}

// A stream can stop at its end or with an error, here because no byte has arrived yet.
TEST(PipeIO, ReportsTheFirstMissingByteAndKeepsItsTarget) {
    for (const bool ends : {true, false}) {
        const int error = ends ? EPIPE : EAGAIN;
        for (const std::string& stream : {std::string(), NumberBytes(7).substr(0, 3),
                                          NumberBytes(7), NumberBytes(0xFFFFFFFF) + "abcdef"}) {
            SCOPED_TRACE(testing::Message() << stream.size() << " bytes, error " << error);
            Pipe pipe;
            pipe.put(stream);
            if (ends) {
                pipe.closeWriter();
            }
            std::string text = "old";
            EXPECT_EQ(ReadString(pipe.reader(), text), error);
            EXPECT_EQ(text, "old");
        }
    }
    Pipe pipe;
    pipe.put(NumberBytes(3) + "ab");
    std::vector<char> bytes = {'o', 'l', 'd', '!'};
    EXPECT_EQ(ReadBytes(pipe.reader(), bytes), EAGAIN);
    EXPECT_EQ(bytes, (std::vector<char>{'a', 'b', 'd'}));
    pipe.put("xyz");
    pipe.closeWriter();
    int number = 5;
    EXPECT_EQ(ReadInt(pipe.reader(), number), EPIPE);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(ReadBytes(pipe.reader(), bytes), EPIPE);
    EXPECT_EQ(ReadInt(-1, number), EBADF);
}

using Writer = int (*)(int);
const Writer WRITERS[] = {
    [](int fd) { return WriteString(fd, "text"); },
    [](int fd) { return WriteBytes(fd, {'b'}); },
    [](int fd) { return WriteInt(fd, 1); },
};

TEST(PipeIO, FailsWithoutASignalWhenTheReaderIsGone) {
    for (const Writer writer : WRITERS) {
        const auto result = testsupport::RunInChild([&] {
            Pipe pipe;
            pipe.closeReader();
            const int error = writer(pipe.writer());
            sigset_t blocked;
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            _exit(error == EPIPE && sigismember(&blocked, SIGPIPE) == 0 ? 0 : 1);
        });
        EXPECT_EQ(result.exitValue, 0);
    }
}

TEST(PipeIO, LeavesASignalThatWasPendingBefore) {
    const auto result = testsupport::RunInChild([] {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        raise(SIGPIPE);
        Pipe pipe;
        pipe.closeReader();
        const int error = WriteInt(pipe.writer(), 1);
        sigpending(&signals);
        _exit(error == EPIPE && sigismember(&signals, SIGPIPE) == 1 ? 0 : 1);
    });
    EXPECT_EQ(result.exitValue, 0);
}

TEST(PipeIO, ReportsErrorsAndShortWrites) {
    for (const Writer writer : WRITERS) {
        EXPECT_EQ(writer(-1), EBADF);
    }
    const Pipe pipe;
    EXPECT_EQ(WriteString(pipe.writer(), std::string(1 << 20, 'x')), EIO);  // more than it holds
    EXPECT_EQ(WriteInt(pipe.writer(), 1), EAGAIN);
}

/** The descriptors of 0 to 19 that are still open after `closeThem`, in a child. */
std::set<int> OpenAfter(const std::function<void()>& closeThem) {
    const auto result = testsupport::RunInChild([&] {
        for (int fd = 3; fd < 20; ++fd) {
            dup2(STDERR_FILENO, fd);
        }
        closeThem();
        for (int fd = 0; fd < 20; ++fd) {
            if (fcntl(fd, F_GETFD) != -1) {
                dprintf(STDOUT_FILENO, "%c", 'a' + fd);
            }
        }
    });
    EXPECT_EQ(result.exitValue, 0);
    std::set<int> open;
    for (const char c : result.out) {
        open.insert(c - 'a');
    }
    return open;
}

TEST(CloseAllExcept, KeepsTheStandardDescriptorsAndTheTwoGiven) {
    const struct {
        int keep1;
        int keep2;
        std::set<int> open;
    } cases[] = {
        {-1, -1, {0, 1, 2}},    {5, 9, {0, 1, 2, 5, 9}},       {9, 5, {0, 1, 2, 5, 9}},
        {7, 7, {0, 1, 2, 7}},   {3, 4, {0, 1, 2, 3, 4}},       {-1, 19, {0, 1, 2, 19}},
        {1, 12, {0, 1, 2, 12}}, {INT_MAX, INT_MIN, {0, 1, 2}},
    };
    for (const bool missing : {false, true}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << c.keep1 << ", " << c.keep2 << ", by "
                                            << (missing ? "close" : "close_range"));
            const std::set<int> open = OpenAfter([&] {
                closeRangeMissing = missing;
                CloseAllExcept(c.keep1, c.keep2);
            });
            EXPECT_EQ(open, c.open);
        }
    }
}

/** CloseAllExcept with another limit; null is the highest that this process may ask for. */
std::set<int> OpenAfterLimit(const rlim_t* limit, int keep) {
    return OpenAfter([&] {
        rlimit limits = {};
        getrlimit(RLIMIT_NOFILE, &limits);
        limits.rlim_cur = limit != nullptr ? *limit : limits.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limits);
        CloseAllExcept(keep, -1);
    });
}

TEST(CloseAllExcept, StopsAtTheLimitOfTheProcess) {
    const rlim_t low = 10;
    EXPECT_EQ(OpenAfterLimit(&low, 4),
              (std::set<int>{0, 1, 2, 4, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19}));
    EXPECT_EQ(OpenAfterLimit(nullptr, 6), (std::set<int>{0, 1, 2, 6}));
}

}  // namespace
