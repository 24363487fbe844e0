#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>

#include "cpputils/include/thread/policies.h"
#include "tests/support/child.h"
#include "tests/support/systemcalls.h"
#include "thread/pthread.h"
#include "thread/sem.h"
#include "thread/threadregistrar.h"
#include "thread/threadrunner.h"

using testing::ContainsRegex;
using testsupport::RunInChild;

namespace {

void* ReturnArgument(void* argument) {
    return argument;
}

TEST(PThread, IsCreatedFromCreateToJoinAndAgain) {
    PThread thread(false);
    int value = 0;
    void* result = nullptr;
    EXPECT_EQ(thread.join(&result), -1);
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(thread.isCreated());
        EXPECT_EQ(thread.create(ReturnArgument, &value), 0);
        EXPECT_TRUE(thread.isCreated());
        EXPECT_EQ(thread.create(ReturnArgument, &value), -1);
        EXPECT_EQ(thread.join(&result), 0);
        EXPECT_EQ(result, &value);
        EXPECT_EQ(thread.join(&result), -1);
    }
}

TEST(PThread, DetachedThreadStaysCreatedAndIsNeverJoined) {
    static SemT<EveryThreadCanBlockPolicy> ended(0);
    PThread thread(true);
    EXPECT_EQ(thread.create(
                  [](void*) -> void* {
                      ended.post();
                      return nullptr;
                  },
                  nullptr),
              0);
    ended.wait();
    EXPECT_EQ(thread.join(nullptr), -1);
    EXPECT_TRUE(thread.isCreated());
}

/** Starts a thread that detaches itself and doesn't end. */
void CreateDetachingItself(PThread& thread) {
    static SemT<EveryThreadCanBlockPolicy> detached(0);
    (void)thread.create(
        [](void*) -> void* {
            pthread_detach(pthread_self());
            detached.post();
            pause();
            return nullptr;
        },
        nullptr);
    detached.wait();
}

TEST(PThread, LogsFailures) {
    const std::pair<const char*, void (*)(PThread & thread)> cases[] = {
        {"WARNING T: p:[0-9]+ \"pthread \\([0-9]+\\) may still be running\\.\\.\\.\"",
         [](PThread& thread) { (void)thread.create(ReturnArgument, nullptr); }},
        {"ERROR T: p:[0-9]+ \"pthread create failed: 11:Resource temporarily unavailable\"",
         [](PThread& thread) {
             testsupport::LimitThreadStarts(0);
             (void)thread.create(ReturnArgument, nullptr);
         }},
#ifndef __SANITIZE_THREAD__  // which stops the process at such a call
        {"ERROR T: p:[0-9]+ \"pthread join failed: 22:Invalid argument\"",
         [](PThread& thread) {
             CreateDetachingItself(thread);
             (void)thread.join(nullptr);
         }},
        {"ERROR T: p:[0-9]+ \"pthread detach failed: 22:Invalid argument\"",
         [](PThread& thread) { CreateDetachingItself(thread); }},
#endif
    };
    for (const auto& [line, body] : cases) {
        const std::string out = RunInChild([body = body] {
                                    PThread thread(false);
                                    body(thread);
                                }).out;
        EXPECT_THAT(out, ContainsRegex(std::string(line) + " at thread/pthread.cpp:"));
    }
}

struct Reporter : public Runnable {
    void* run() override {
        description = ThreadRegistrar::instance().describeThread();
        runningInside = runner.isRunning();
        return this;
    }

    ThreadRunner runner{this, "worker", false, FRAMEWORK_THREAD_CLASS};
    std::string description;
    bool runningInside = false;
};

TEST(ThreadRunner, NamesItsThreadWhileItRuns) {
    Reporter reporter;
    ThreadRunner& runner = reporter.runner;
    EXPECT_FALSE(runner.isRunning());
    EXPECT_FALSE(runner.isCreated());
    EXPECT_EQ(runner.start(), 0);
    void* result = nullptr;
    EXPECT_EQ(runner.join(&result), 0);
    EXPECT_EQ(result, &reporter);
    EXPECT_TRUE(reporter.runningInside);
    EXPECT_THAT(reporter.description, testing::StartsWith("worker p:"));
    EXPECT_FALSE(runner.isRunning());
    EXPECT_FALSE(runner.isCreated());
    EXPECT_EQ(ThreadRegistrar::instance().listThreads(), "");
}

TEST(ThreadRunner, StaysRunningAfterAFailedStart) {
    Reporter reporter;
    ThreadRunner& runner = reporter.runner;
    EXPECT_EQ(runner.start(), 0);
    while (runner.isRunning()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(runner.start(), -1);  // not joined yet
    EXPECT_TRUE(runner.isRunning());
    EXPECT_EQ(runner.join(nullptr), 0);
    EXPECT_TRUE(runner.isRunning());
}

}  // namespace
