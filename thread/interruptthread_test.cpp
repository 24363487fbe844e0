#include "thread/interruptthread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>

#include "cpputils/include/pipeio.h"
#include "cpputils/include/returncodes.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/systemcalls.h"

using testsupport::CountDescriptors;

namespace {

constexpr int NO_BYTE = -1;

/** Both sides of the thread; records its calls. */
class FarSides : public InterruptAction, public Interrupter {
  public:
    /** Writes `byte` when it is attached. */
    explicit FarSides(int byte = NO_BYTE) : i_byte(byte) {}

    void interrupt() override {
        calls += "interrupt ";
        interrupted.post();
    }
    void timeout() override { calls += "timeout "; }
    void commandFinished() override {}
    void attachInterruptFd(int fd) override {
        i_fd = fd;
        if (i_byte != NO_BYTE) {
            EXPECT_EQ(WriteByte(fd, static_cast<unsigned char>(i_byte)), 0);
        }
    }
    void detachInterruptFd(int fd) override {
        EXPECT_EQ(fd, i_fd);
        calls += "detach";
        detached.post();
    }

    std::string calls;
    SemT<EveryThreadCanBlockPolicy> interrupted{0};
    SemT<EveryThreadCanBlockPolicy> detached{0};

  private:
    const int i_byte;
    int i_fd = -1;
};

TEST(InterruptThread, EndsByTheFirstEventOrByStop) {
    constexpr timeval brief = {0, 1000};
    constexpr timeval negative = {0, -1};
    constexpr timeval endless = {std::numeric_limits<time_t>::max(), 1'000'000};
    const struct {
        int byte;
        const timeval* timeout;
        int rc;
        const char* message;
        const char* calls;
    } cases[] = {
        {INTERRUPT_MARK, nullptr, -1, "Interrupted", "interrupt detach"},
        {TIMEOUT_MARK, nullptr, e_Error_Timeout, "Timeout Occured", "timeout detach"},
        {'x', nullptr, -1, "Interrupted - Unknown Failure", "interrupt detach"},
        {NO_BYTE, nullptr, 0, "", "detach"},
        {NO_BYTE, &brief, e_Error_Timeout, "Timeout Occured", "timeout detach"},
        {NO_BYTE, &negative, -1, "Select failed (Invalid argument)", "detach"},
        {NO_BYTE, &endless, -1, "Select failed (Invalid argument)", "detach"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const auto descriptors = CountDescriptors();
        FarSides sides(c.byte);
        InterruptThread thread(&sides, &sides, c.timeout);
        EXPECT_EQ(thread.stop(), -1);
        EXPECT_EQ(thread.start(), 0);
        EXPECT_EQ(thread.start(), -1);
        if (c.rc != 0) {
            sides.detached.wait();
        }
        EXPECT_EQ(thread.stop(), 0);
        EXPECT_EQ(thread.rc(), c.rc);
        EXPECT_EQ(thread.message(), c.message);
        EXPECT_EQ(sides.calls, c.calls);
        EXPECT_EQ(CountDescriptors(), descriptors);
    }
}

TEST(InterruptThread, StopTakesPrecedenceOverAMark) {
    std::atomic<int> writes{0};
    testsupport::HookWrites([&](int fd, const void* bytes, size_t count) {
        const ssize_t written = testsupport::CallWrite(fd, bytes, count);
        ++writes;
        return written;
    });
    testsupport::HookPolls([&] {
        while (writes < 2) {  // the mark, and the stop
            std::this_thread::yield();
        }
    });
    FarSides sides(INTERRUPT_MARK);
    InterruptThread thread(&sides, &sides, nullptr);
    EXPECT_EQ(thread.start(), 0);
    EXPECT_EQ(thread.stop(), 0);
    testsupport::HookWrites(nullptr);
    testsupport::HookPolls(nullptr);
    EXPECT_EQ(thread.rc(), 0);
    EXPECT_EQ(sides.calls, "detach");
}

TEST(InterruptThread, BorrowsTheDescriptorItIsGiven) {
    constexpr int beyondSelect = 1500;
    testsupport::LimitDescriptors(beyondSelect + 1);
    PipeEnds marks;
    ASSERT_EQ(marks.create(), 0);
    ASSERT_EQ(dup2(marks.readEnd(), beyondSelect), beyondSelect);
    FarSides sides;
    {
        InterruptThread stopped(&sides, beyondSelect);
        EXPECT_EQ(stopped.start(), 0);
    }
    EXPECT_EQ(sides.calls, "");

    InterruptThread broken(&sides, beyondSelect);
    marks.closeWrite();
    EXPECT_EQ(broken.start(), 0);
    sides.interrupted.wait();
    EXPECT_EQ(broken.stop(), 0);
    EXPECT_EQ(broken.message(), "Interrupted - Unknown Failure");
    EXPECT_EQ(close(beyondSelect), 0);
}

TEST(InterruptThread, LogsThatItCannotBeStopped) {
    class Endless : public FarSides {
      public:
        void interrupt() override {
            FarSides::interrupt();
            pause();  // or the thread would use the object after its end
        }
    };
    const auto child = testsupport::RunInChild([] {
        PipeEnds marks;
        EXPECT_EQ(marks.create(), 0);
        marks.closeWrite();
        Endless sides;
        InterruptThread thread(&sides, marks.readEnd());
        EXPECT_EQ(thread.start(), 0);
        sides.interrupted.wait();
        testsupport::HookWrites(testsupport::FailingWrite);
    });
    EXPECT_THAT(child.out, testing::ContainsRegex(
                               "S: WARNING T: p:[0-9]+ \"Could not stop InterruptThread\" at "
                               "thread/interruptthread.cpp:"));
}

TEST(InterruptThread, CanBeStoppedWithoutAPipe) {
    const auto child = testsupport::RunInChild([] {
        FarSides sides;
        InterruptThread thread(&sides, &sides, nullptr);
        testsupport::LimitDescriptors(0);
        (void)thread.start();
        printf("%d ", thread.stop());
        printf("%d %s %d", thread.rc(), thread.message().c_str(), thread.stop());
    });
    EXPECT_EQ(child.out, "0 -1 Could not create Pipes -1");
}

}  // namespace
