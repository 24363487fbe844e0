/**
 * startup_bench: the processor time of the tool's start, from exec to the first access to the
 * mailbox, and of a whole run whose controller has the tool's revision. Also the tool's memory.
 */
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "companions/toolcontract/toolcontract.h"
#include "link/mailbox.h"
#include "tests/support/privateshm.h"
#include "tests/support/region.h"
#include "tests/support/rundirectory.h"
#include "verification/bench/pinned.h"
#include "verification/bench/samples.h"

namespace bench {

namespace {

constexpr int RUNS = 41;

double Milliseconds(const timespec& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double Milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double ProcessorTime(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return Milliseconds(time);
}

/**
 * From exec to the first poll for a controller. There is none, so that the tool then sleeps for a
 * second without using the processor.
 */
double StartUp(const std::string& tool, const std::string& directory) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("cannot create a pipe");
    }
    const pid_t pid = ForkPinned(0);
    if (pid == 0) {
        const double used = ProcessorTime(CLOCK_PROCESS_CPUTIME_ID);
        if (write(ends[1], &used, sizeof used) == sizeof used) {
            BecomeTool(tool, directory);
        }
        _exit(EXIT_FAILURE);
    }
    close(ends[1]);
    double before = 0;
    const bool started = read(ends[0], &before, sizeof before) == sizeof before;
    close(ends[0]);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    clockid_t clock = 0;
    const bool runs = clock_getcpuclockid(pid, &clock) == 0;
    const double after = ProcessorTime(clock);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    if (!started || !runs) {
        throw std::runtime_error("the tool ended too soon");
    }
    return after - before;
}

void Print(const char* what, const Samples& series) {
    printf("%-12s ms of processor: quarter %.2f, median %.2f, 3/4 %.2f\n", what, series.quartile(1),
           series.quartile(2), series.quartile(3));
}

void Measure(const std::string& tool) {
    const testsupport::RunDirectory directory;
    testsupport::Region region;
    region.setWord(MAILBOX_REVISION_LOW, toolcontract::TOOL_REVISION & 0xFF);
    region.setWord(MAILBOX_REVISION_HIGH, toolcontract::TOOL_REVISION >> 8);
    Samples startUp;
    Samples whole;
    long peakKilobytes = 0;
    for (int run = 0; run < RUNS; ++run) {
        region.setWord(MAILBOX_TX_STATE, STATE_ABSENT);
        startUp.add(StartUp(tool, directory.path()));
        region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
        const rusage usage = RunPinned(0, toolcontract::EXIT_NOT_UPGRADED,
                                       [&] { BecomeTool(tool, directory.path()); });
        whole.add(Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime));
        peakKilobytes = std::max(peakKilobytes, usage.ru_maxrss);
    }
    Print("start-up", startUp);
    Print("whole run", whole);
    printf("peak resident set %ld KiB\n", peakKilobytes);
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: startup_bench TOOL\n");
        return 2;
    }
    testsupport::UsePrivateSharedMemory();
    try {
        bench::Measure(std::filesystem::absolute(argv[1]));
    } catch (const std::exception& e) {
        fprintf(stderr, "startup_bench: %s\n", e.what());
        return 1;
    }
    return 0;
}
