#include "memory/cardview.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>

#include "link/mailbox.h"
#include "memory/hostlock.h"
#include "memory/mailboxpage.h"
#include "memory/memorymapcontainer.h"
#include "tests/support/child.h"
#include "tests/support/privateshm.h"

using testing::HasSubstr;
using testsupport::RunInChild;

namespace {

constexpr char PATH[] = "/dev/shm/resource0";

class CardViews : public testing::Test {
  protected:
    static void SetUpTestSuite() { testsupport::UsePrivateSharedMemory(); }
    void TearDown() override { remove(PATH); }

    static void makeObject(off_t size) {
        std::ofstream(PATH).flush();
        ASSERT_EQ(truncate(PATH, size), 0);
    }
};

/** The two holders, as a process without a lock sees them. */
std::string HoldersSeen() {
    return RunInChild([] {
               const CardView card;
               const auto print = [](const std::optional<pid_t>& pid) {
                   printf("%s;", pid ? ProcessText(*pid).c_str() : "nobody");
               };
               print(card.host());
               print(card.controller());
           })
        .out;
}

std::string Own() {
    return "pid " + std::to_string(getpid());
}

TEST_F(CardViews, TheHostsLockLastsAsLongAsItsRegion) {
    auto container = std::make_unique<MemoryMapContainer>();
    ASSERT_NE(container->createMemoryMap(e_MemoryMap_VELNOR_ALTERA), nullptr);
    ASSERT_NE(container->createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0), nullptr);
    EXPECT_EQ(HoldersSeen(), Own() + ";nobody;");
    // It doesn't exclude a second host.
    const auto second = RunInChild([] {
        MemoryMapContainer other;
        printf("%d", other.createMemoryMap(e_MemoryMap_VELNOR_ALTERA) != nullptr);
    });
    EXPECT_EQ(second.out, "1");
    container.reset();
    EXPECT_EQ(HoldersSeen(), "nobody;nobody;");
}

TEST_F(CardViews, OneControllerAtATime) {
    makeObject(REGION_SIZE);
    const int fd = open(PATH, O_RDWR | O_CLOEXEC);
    ASSERT_TRUE(LockAsController(fd));
    EXPECT_EQ(HoldersSeen(), "nobody;" + Own() + ";");
    const auto second = RunInChild([] {
        const int other = open(PATH, O_RDWR);
        LockAsHost(other);  // the two sides don't exclude each other
        printf("%d", LockAsController(other));
    });
    EXPECT_EQ(second.out, "0");
    close(fd);
    EXPECT_EQ(HoldersSeen(), "nobody;nobody;");
}

TEST_F(CardViews, AHolderInAnotherPidNamespaceIsUnknown) {
    MemoryMapContainer container;
    ASSERT_NE(container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA), nullptr);
    const auto inside = RunInChild([] {
        if (unshare(CLONE_NEWPID) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWPID) != 0) {
            printf("no namespace");
            return;
        }
        const pid_t child = fork();
        if (child == 0) {
            const std::optional<pid_t> pid = CardView().host();
            printf("%s", pid ? ProcessText(*pid).c_str() : "nobody");
            return;
        }
        waitpid(child, nullptr, 0);
    });
    if (inside.out == "no namespace") {
        GTEST_SKIP() << "this machine does not permit a pid namespace";
    }
    EXPECT_EQ(inside.out, "pid unknown");
}

TEST_F(CardViews, WordsAreReadWithoutTouchingTheObject) {
    makeObject(REGION_SIZE);
    const int fd = open(PATH, O_RDWR | O_CLOEXEC);
    const uint32_t words[] = {0x01020304, 0xFFFFFF07};
    ASSERT_EQ(pwrite(fd, words, sizeof words, MAILBOX_OFFSET + size_t{4} * 9),
              ssize_t{sizeof words});
    const CardView card;
    ASSERT_EQ(card.failure(), "");
    EXPECT_EQ(card.mailboxWord(9), 0x01020304U);
    EXPECT_EQ(card.mailboxWord(10), 0xFFFFFF07U);
    EXPECT_EQ(card.word(REGION_SIZE - 4), 0U);
    EXPECT_EQ(card.word(REGION_SIZE), std::nullopt);
    struct stat status = {};
    fstat(fd, &status);
    EXPECT_EQ(status.st_blocks, 8) << "the page that was written, in units of 512 bytes, alone";
    // It shrinks while it is open.
    ASSERT_EQ(ftruncate(fd, 4096), 0);
    EXPECT_EQ(card.mailboxWord(10), std::nullopt);
    close(fd);
}

TEST_F(CardViews, AllocatesTheMailboxPageOrReturnsAReason) {
    EXPECT_EQ(AllocateMailboxPage(), "") << "there is no object";
    EXPECT_NE(access(PATH, F_OK), 0);
    makeObject(REGION_SIZE);
    {
        const testsupport::FullSharedMemory memory;
        if (!memory.full()) {
            GTEST_SKIP() << "this machine does not permit a private /dev/shm";
        }
        EXPECT_EQ(AllocateMailboxPage(),
                  "cannot allocate the mailbox in /resource0: No space left on device");
    }
    const uint32_t word = 7;
    const int fd = open(PATH, O_RDWR | O_CLOEXEC);
    EXPECT_EQ(AllocateMailboxPage(), "");
    struct stat status = {};
    fstat(fd, &status);
    EXPECT_EQ(status.st_blocks, 8) << "one page, in units of 512 bytes";
    ASSERT_EQ(pwrite(fd, &word, sizeof word, 0x2800), ssize_t{sizeof word});
    EXPECT_EQ(AllocateMailboxPage(), "");
    EXPECT_EQ(CardView().mailboxWord(0), 7U) << "the contents stay";
    close(fd);
}

TEST_F(CardViews, OnlyAWholeRegularFileIsOpened) {
    const struct {
        void (*make)();
        const char* why;
    } cases[] = {
        {[] {}, "No such file or directory; start the controller first"},
        {[] { makeObject(REGION_SIZE - 1); }, "shorter than the card's address space; check"},
        {[] { ASSERT_EQ(mkfifo(PATH, 0666), 0); }, "not a regular file; check /dev/shm"},
        {[] { ASSERT_EQ(mkdir(PATH, 0777), 0); }, "not a regular file; check /dev/shm"},
        {[] { ASSERT_EQ(symlink("/etc/passwd", PATH), 0); }, "symbolic links; check /dev/shm"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        c.make();
        const CardView card;
        EXPECT_THAT(card.failure(), HasSubstr(c.why));
        EXPECT_THAT(card.failure(), HasSubstr("shared memory /resource0: "));
        EXPECT_EQ(card.missing(), &c == &cases[0]);
        EXPECT_EQ(card.mailboxWord(10), std::nullopt);
        EXPECT_EQ(card.host(), std::nullopt);
        remove(PATH);
    }
}

}  // namespace
