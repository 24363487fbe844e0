#include "verification/campaign/workers.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>

#include "tests/support/privateshm.h"

namespace campaign {

namespace {

int DoWork(const WorkLimits& extent, std::atomic<uint64_t>& next,
           const std::function<Work()>& makeWork) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::seconds(extent.seconds);
    try {
        testsupport::UsePrivateSharedMemory();
        const Work work = makeWork();
        for (uint64_t number = next++; number < extent.count; number = next++) {
            if (extent.seconds != 0 && Clock::now() >= end) {
                break;
            }
            work(number);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        fprintf(stderr, "fault_campaign: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}

}  // namespace

void* SharedMemory(size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("cannot allocate shared memory");
    }
    return memory;
}

bool DistributeWork(const WorkLimits& extent, const std::function<Work()>& makeWork) {
    auto* next = new (SharedMemory(sizeof(std::atomic<uint64_t>))) std::atomic<uint64_t>(0);
    fflush(nullptr);
    bool good = true;
    for (unsigned started = 0; started < extent.jobs && good; ++started) {
        const pid_t pid = fork();
        if (pid == 0) {
            const int result = DoWork(extent, *next, makeWork);
            fflush(nullptr);
            _exit(result);
        }
        good = pid > 0;
    }
    for (int status = 0; wait(&status) > 0;) {
        good = good && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }
    return good;
}

}  // namespace campaign
