#include "memory/memorymapcontainer.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/child.h"
#include "tests/support/privateshm.h"
#include "tests/support/transcript.h"
#include "thread/threadregistrar.h"

using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::Normalised;
using testsupport::RunInChild;
using testsupport::Transcript;

namespace {
std::function<void()> beforeOpen;
}

/** Replaces the C library's. */
extern "C" int shm_open(const char* name, int flags, mode_t mode) {
    if (beforeOpen) {
        beforeOpen();
    }
    using Open = int (*)(const char*, int, mode_t);
    static const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "shm_open"));
    return next(name, flags, mode);
}

namespace {

constexpr size_t DEFAULT_SIZE = 0x1000000;

/** The size of an object, or -1 if there is none. */
off_t ObjectSize(const char* name) {
    const int fd = shm_open(name, O_RDONLY, 0);
    if (fd == -1) {
        return -1;
    }
    struct stat status = {};
    fstat(fd, &status);
    close(fd);
    return status.st_size;
}

class MemoryMaps : public testing::Test {
  protected:
    static void SetUpTestSuite() { testsupport::UsePrivateSharedMemory(); }
    void TearDown() override {
        for (const char* name : {"/resource0", "/resource1", "/pci0", "/plb0"}) {
            shm_unlink(name);
        }
    }
};

TEST_F(MemoryMaps, RegionIsTheObjectNamedByTheEndOfItsPath) {
    {
        MemoryMapContainer container;
        EXPECT_EQ(container.getMemoryMap(e_MemoryMap_VELNOR_ALTERA), nullptr);
        EXPECT_EQ(ObjectSize("/resource0"), -1);
        MemoryMap* map = container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
        ASSERT_NE(map, nullptr);
        EXPECT_EQ(ObjectSize("/resource0"), static_cast<off_t>(DEFAULT_SIZE));
        EXPECT_EQ(container.getMemoryMap(e_MemoryMap_VELNOR_ALTERA), map);
        EXPECT_EQ(&container.getMemoryMapReference(e_MemoryMap_VELNOR_ALTERA), map);
        EXPECT_EQ(container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA, 4096), map);
        EXPECT_EQ(ObjectSize("/resource0"), static_cast<off_t>(DEFAULT_SIZE));
        auto* bytes = static_cast<unsigned char*>(map->getAddress());
        EXPECT_EQ(bytes[DEFAULT_SIZE - 1], 0);
        bytes[DEFAULT_SIZE - 1] = 77;
    }
    // The object outlives the container, with its contents.
    MemoryMapContainer again;
    MemoryMap* map = again.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(static_cast<unsigned char*>(map->getAddress())[DEFAULT_SIZE - 1], 77);
}

TEST_F(MemoryMaps, TheObjectIsForEveryoneAndNothingElseOutlivesTheContainer) {
    const mode_t mask = umask(0);
    const int nextDescriptor = dup(STDIN_FILENO);
    close(nextDescriptor);
    void* address = nullptr;
    {
        MemoryMapContainer container;
        address = container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA, 4096)->getAddress();
        EXPECT_EQ(msync(address, 4096, MS_ASYNC), 0);
    }
    umask(mask);
    EXPECT_EQ(msync(address, 4096, MS_ASYNC), -1);
    const int fd = shm_open("/resource0", O_RDONLY, 0);
    EXPECT_EQ(fd, nextDescriptor);
    struct stat status = {};
    fstat(fd, &status);
    close(fd);
    EXPECT_EQ(status.st_mode & ALLPERMS, 0777U);
}

TEST_F(MemoryMaps, RegionWithoutADefaultSizeNeedsOne) {
    const ChildResult result = RunInChild([] {
        MemoryMapContainer container;
        if (container.createMemoryMap(e_MemoryMap_Slot3) != nullptr ||
            container.createMemoryMap(e_MemoryMap_Slot3, 100) == nullptr) {
            printf("wrong result\n");
        }
    });
    EXPECT_EQ(Normalised(result.out),
              Transcript().critical("cannot create memory map (3) without specific size").text());
    EXPECT_EQ(ObjectSize("/pci0"), 100);
}

TEST_F(MemoryMaps, TypesBeyondTheTableAreRefused) {
    for (const int number : {NUM_MEMORY_MAPS, -1}) {
        const auto bad = static_cast<e_MemoryMapType>(number);
        const std::string line = "Invalid memoryMap: " + std::to_string(number);
        Transcript expected;
        expected.critical("createMemoryMap: " + line)
            .critical(line)
            .critical(line)
            .assertion("\"Invalid memoryMap\"");
        const ChildResult result = RunInChild([&] {
            MemoryMapContainer container;
            (void)container.createMemoryMap(bad);
            (void)container.createMemoryMap(bad, 4096);
            (void)container.getMemoryMap(bad);
            container.getMemoryMapReference(bad);
        });
        EXPECT_EQ(Normalised(result.out), expected.text());
        EXPECT_EQ(result.signal, SIGABRT);
    }
}

TEST_F(MemoryMaps, ClosedRegionsAndCriticalThreadsAreStopped) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { MemoryMapContainer().getMemoryMapReference(e_MemoryMap_VELNOR_ALTERA); },
         "\"Assertion \"\"Invalid memoryMap\"\" failed.\""},
        {[] {
             MemoryMapContainer container;
             (void)container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
             EXPECT_EQ(ThreadRegistrar::instance().registerFieldMain(0), 0);
             (void)container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA, 4096);
         },
         "ASSERT_BLOCKABLE_THREAD Failed"},
    };
    for (const auto& [body, report] : cases) {
        const ChildResult result = RunInChild(body);
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_THAT(result.out, HasSubstr(report));
    }
}

void ExpectFailure(MemoryMapContainer& container, size_t size) {
    if (container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0, size) != nullptr ||
        container.getMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0) != nullptr) {
        printf("not closed\n");
    }
}

// Each failure leaves the region closed, and a later try succeeds.
TEST_F(MemoryMaps, FailuresAreLoggedAndLeaveTheRegionClosed) {
    const std::string path = "/sys/bus/pci/devices/0000:01:00.0/resource1";
    const struct {
        const char* name;
        void (*prepare)();
        const char* first;   // null: no line
        const char* second;  // the path and the error follow
        int error;
        size_t size = DEFAULT_SIZE;
    } cases[] = {
        {"a directory in its place", [] { mkdir("/dev/shm/resource1", 0777); },
         "open failed /resource1", "open failed ", EINVAL},
        {"no room for the file",
         [] {
             signal(SIGXFSZ, SIG_IGN);
             const rlimit small = {4096, RLIM_INFINITY};
             setrlimit(RLIMIT_FSIZE, &small);
         },
         "ftruncate failed /resource1", "open failed ", EFBIG},
        {"no room for the mapping", [] {}, nullptr, "mmap failed ", ENOMEM, size_t{1} << 47},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        shm_unlink("/resource1");
        const std::string reason = " (" + std::string(strerror(c.error)) + ")";
        Transcript expected;
        for (int failure = 0; failure < 2; ++failure) {
            if (c.first != nullptr) {
                expected.critical(c.first + reason);
            }
            expected.critical(c.second + (path + reason));
        }
        const ChildResult result = RunInChild([&] {
            const int nextDescriptor = dup(STDIN_FILENO);
            close(nextDescriptor);
            c.prepare();
            {
                MemoryMapContainer container;
                ExpectFailure(container, c.size);
                if (dup(STDIN_FILENO) != nextDescriptor) {
                    printf("descriptor left open\n");
                }
            }
            if (close(nextDescriptor) != 0) {
                printf("somebody else's descriptor closed\n");
            }
            MemoryMapContainer container;
            ExpectFailure(container, c.size);
            rmdir("/dev/shm/resource1");
            const rlimit all = {RLIM_INFINITY, RLIM_INFINITY};
            setrlimit(RLIMIT_FSIZE, &all);
            if (container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0) == nullptr) {
                printf("not tried again\n");
            }
        });
        EXPECT_EQ(Normalised(result.out), expected.text());
        EXPECT_EQ(result.exitValue, 0);
    }
}

bool IsAsleep(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string number;
    std::string name;
    std::string state;
    stat >> number >> name >> state;
    return state == "S";
}

TEST_F(MemoryMaps, ThreadsThatRaceForARegionOpenItOnce) {
    MemoryMapContainer container;
    std::atomic<int> opens{0};
    std::atomic<pid_t> second{0};
    std::thread racer;
    beforeOpen = [&] {
        if (++opens > 1) {
            return;
        }
        racer = std::thread([&] {
            second = gettid();
            (void)container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
        });
        // It waits for the lock, or it opens the region too.
        while (opens == 1 && (second == 0 || !IsAsleep(second))) {
            std::this_thread::yield();
        }
    };
    MemoryMap* map = container.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
    racer.join();
    beforeOpen = nullptr;
    EXPECT_EQ(opens, 1);
    EXPECT_EQ(container.getMemoryMap(e_MemoryMap_VELNOR_ALTERA), map);
}

}  // namespace
