#include "thread/threadregistrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <string>
#include <thread>

#include "cpputils/include/thread/policies.h"
#include "tests/support/child.h"

using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace {

ThreadRegistrar& Registrar() {
    return ThreadRegistrar::instance();
}

/** The end of each description of the calling thread. */
std::string Plain() {
    return "p:" + std::to_string(pthread_self());
}

std::string NoAllocDescription(size_t length = 200) {
    std::string buffer(length + 1, '#');
    Registrar().describeThreadNoAlloc(buffer.data(), length);
    EXPECT_EQ(buffer.back(), '#');
    return buffer.c_str();
}

/** Runs on a new thread, which frees its slots and name afterwards. */
template <typename Body>
void OnFreshThread(Body body) {
    std::thread([&] {
        body();
        Registrar().unregisterThread();
        Registrar().unregisterThread();
        Registrar().unregisterThread();
    }).join();
}

TEST(ThreadRegistrar, DescribesPlainNamedAndFieldMainThreads) {
    OnFreshThread([] {
        EXPECT_EQ(Registrar().describeThread(), Plain());
        EXPECT_EQ(NoAllocDescription(), Plain() + " ");
        Registrar().registerName("first");
        Registrar().registerName("FDBuffer");
        EXPECT_EQ(Registrar().describeThread(), "FDBuffer " + Plain());
        EXPECT_EQ(NoAllocDescription(), "FDBuffer " + Plain() + " ");
        EXPECT_FALSE(Registrar().isFieldMain());
        EXPECT_EQ(Registrar().registerFieldMain(77), 0);
        EXPECT_EQ(Registrar().describeThread(), "FM0 " + Plain());
        EXPECT_EQ(NoAllocDescription(), "FM0 " + Plain() + " ");
        EXPECT_EQ(Registrar().fieldMainIndex(), 0);
        EXPECT_EQ(Registrar().fieldMainCookie(), 77U);
    });
    EXPECT_EQ(Registrar().fieldMainIndex(), -1);
    EXPECT_EQ(Registrar().fieldMainCookie(), 0U);
}

TEST(ThreadRegistrar, DescriptionIsCutToItsBuffer) {
    OnFreshThread([] {
        Registrar().registerName("a long name");
        EXPECT_EQ(NoAllocDescription(1), "");
        EXPECT_EQ(NoAllocDescription(5), "a lo");
        EXPECT_EQ(NoAllocDescription(14), "a long name p");
        char untouched = '#';
        Registrar().describeThreadNoAlloc(&untouched, 0);
        EXPECT_EQ(untouched, '#');
    });
}

TEST(ThreadRegistrar, HasTwoSlotsAndFreesTheFirstOfACaller) {
    OnFreshThread([] {
        Registrar().registerName("both");
        EXPECT_EQ(Registrar().registerFieldMain(1), 0);
        EXPECT_EQ(Registrar().registerFieldMain(2), 0);
        EXPECT_EQ(Registrar().registerFieldMain(3), -1);
        EXPECT_EQ(Registrar().fieldMainCookie(), 1U);
        Registrar().unregisterThread();
        EXPECT_EQ(Registrar().fieldMainIndex(), 1);
        EXPECT_EQ(Registrar().fieldMainCookie(), 2U);
        Registrar().unregisterThread();
        EXPECT_EQ(Registrar().describeThread(), "both " + Plain());
        Registrar().unregisterThread();
        EXPECT_EQ(Registrar().describeThread(), Plain());
    });
}

TEST(ThreadRegistrar, ListsSlotsThenNames) {
    OnFreshThread([] {
        Registrar().registerName("listed");
        EXPECT_EQ(Registrar().registerFieldMain(0), 0);
        const std::string id =
            "pid: " + std::to_string(getpid()) + " threadId: " + std::to_string(pthread_self());
        std::string list;
        std::thread([&] { list = Registrar().listThreads(); }).join();
        EXPECT_EQ(list, id + " FieldMain0\n" + id + " Name: listed\n");
    });
    EXPECT_EQ(Registrar().listThreads(), "");
}

TEST(ThreadRegistrar, SoleThreadIsHeldByOne) {
    EXPECT_FALSE(Registrar().isSoleThread());
    EXPECT_EQ(Registrar().claimSoleThread(), 0);
    EXPECT_TRUE(Registrar().isSoleThread());
    EXPECT_EQ(Registrar().claimSoleThread(), -1);
    OnFreshThread([] {
        EXPECT_FALSE(Registrar().isSoleThread());
        EXPECT_EQ(Registrar().claimSoleThread(), -1);
        Registrar().releaseSoleThread();
    });
    EXPECT_TRUE(Registrar().isSoleThread());
    Registrar().releaseSoleThread();
    EXPECT_FALSE(Registrar().isSoleThread());
}

TEST(ThreadRegistrar, IdsAreOrderedByProcessThenHandle) {
    const ThreadId ids[] = {{9, 1}, {1, 2}, {2, 2}};
    EXPECT_TRUE(ids[0] < ids[1]);
    EXPECT_TRUE(ids[1] < ids[2]);
    EXPECT_FALSE(ids[1] < ids[0]);
    EXPECT_FALSE((ids[1] == ThreadId{1, 3}));
}

// The child's thread has the handle of a FieldMain thread but another process. The filter and the
// policy treat it as critical; its description shows neither that nor a name, which needs a lock.
TEST(ThreadRegistrar, ForkedChildOfACriticalThreadCanLog) {
    const ChildResult result = RunInChild([] {
        Registrar().registerName("parent");
        EXPECT_EQ(Registrar().registerFieldMain(0), 0);
        const pid_t child = fork();
        if (child == 0) {
            LOG_MESSAGE(CRITICAL, "from the child");
            LOG_MESSAGE(ERROR, "filtered");
            fflush(stdout);
            Registrar().unregisterThread();
            _exit(3);
        }
        int status = 0;
        waitpid(child, &status, 0);
        printf("child ended by signal %d\n", WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    });
    EXPECT_THAT(result.out,
                testing::ContainsRegex("S: CRITICAL T: p:[0-9]+ \"from the child\" at"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("filtered")));
    // Unregistering takes the lock of the names, which stops the process of a critical thread.
    EXPECT_THAT(result.out, HasSubstr("ASSERT_BLOCKABLE_THREAD Failed"));
    EXPECT_THAT(result.out, HasSubstr("child ended by signal " + std::to_string(SIGABRT)));
}

TEST(ThreadRegistrar, SlotsAndNamesMayBeReadWhileOthersChangeThem) {
    std::atomic<bool> stop{false};
    std::atomic<int> readings{0};
    int writersSeen = 0;
    std::thread reader([&] {
        while (!stop) {
            EXPECT_FALSE(IsCurrentThreadCritical());
            EXPECT_EQ(Registrar().describeThread(), Plain());
            const std::string list = Registrar().listThreads();
            writersSeen += list.find("Name: writer") != std::string::npos ? 1 : 0;
            ++readings;
        }
    });
    for (int i = 0; i < 200; ++i) {
        OnFreshThread([&] {
            Registrar().registerName("writer");
            EXPECT_EQ(Registrar().registerFieldMain(1), 0);
            // The second reading from now on began after the registration.
            for (const int before = readings; readings < before + 2;) {
                std::this_thread::yield();
            }
        });
    }
    stop = true;
    reader.join();
    EXPECT_GE(writersSeen, 200);
}

}  // namespace
