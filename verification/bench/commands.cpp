/**
 * commands_bench: what a shell command through the slave process costs, against the least that its
 * way of working allows: a poll and a read for each byte in the slave, and a read for each byte
 * in the master.
 */
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "thread/systemcaller.h"
#include "verification/bench/series.h"

namespace bench {

namespace {

constexpr int ROUNDS = 200;
constexpr size_t CAPTURED = 10'000'000;

/** Reads a stream of so many bytes one by one, with or without asking first; ns a byte. */
double BareRead(size_t count, bool ask) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t writer = fork();
    if (writer < 0) {
        throw std::runtime_error("no process");
    }
    if (writer == 0) {
        const std::vector<char> block(4096);
        for (size_t sent = 0; sent < count; sent += block.size()) {
            if (write(ends[1], block.data(), block.size()) < 0) {
                break;
            }
        }
        _exit(EXIT_SUCCESS);
    }
    close(ends[1]);
    const uint64_t start = NanosecondsNow();
    char byte = 0;
    do {
        pollfd waited = {ends[0], POLLIN, 0};
        if (ask) {
            poll(&waited, 1, -1);
        }
    } while (read(ends[0], &byte, 1) == 1);
    const uint64_t end = NanosecondsNow();
    close(ends[0]);
    waitpid(writer, nullptr, 0);
    return static_cast<double>(end - start) / static_cast<double>(count);
}

/** `who` as getrusage takes it. */
long PeakKilobytes(int who) {
    rusage usage = {};
    getrusage(who, &usage);
    return usage.ru_maxrss;
}

void MeasureRoundTrip(SystemCaller& caller) {
    Series microseconds;
    for (int round = 0; round < ROUNDS; ++round) {
        const uint64_t start = NanosecondsNow();
        caller.exec("true", nullptr, nullptr);
        microseconds.add(static_cast<double>(NanosecondsNow() - start) / 1000);
    }
    printf("round trip of true, us: quarter %.0f, median %.0f, 3/4 %.0f; %.0f commands a second\n",
           microseconds.quartile(1), microseconds.quartile(2), microseconds.quartile(3),
           1e6 / microseconds.quartile(2));
}

void MeasureCapture(SystemCaller& caller) {
    const long before = PeakKilobytes(RUSAGE_SELF);
    const uint64_t start = NanosecondsNow();
    const auto result =
        caller.exec("head -c " + std::to_string(CAPTURED) + " /dev/zero", nullptr, nullptr);
    const uint64_t end = NanosecondsNow();
    if (result.stdout.size() != CAPTURED) {
        throw std::runtime_error("the output was not captured whole");
    }
    const long after = PeakKilobytes(RUSAGE_SELF);
    // Only who has been waited for counts.
    caller.destroy();
    const auto perByte = [](double total) { return total / static_cast<double>(CAPTURED); };
    printf("%zu bytes captured: %.0f ns a byte; memory a byte: slave %.1f, master %.1f\n", CAPTURED,
           perByte(static_cast<double>(end - start)),
           perByte(1024.0 * static_cast<double>(PeakKilobytes(RUSAGE_CHILDREN))),
           perByte(1024.0 * static_cast<double>(after - before)));
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: commands_bench DIRECTORY-OF-SYSCALLSLAVE\n");
        return 2;
    }
    try {
        const double asked = bench::BareRead(bench::CAPTURED, true);
        const double plain = bench::BareRead(bench::CAPTURED, false);
        printf("the least: %.0f ns a byte with a poll and a read, %.0f with a read; in all %.0f\n",
               asked, plain, asked + plain);
        SystemCaller& caller = SystemCaller::instance();
        caller.initialize(std::string(argv[1]) + "/");
        bench::MeasureRoundTrip(caller);
        bench::MeasureCapture(caller);
    } catch (const std::exception& e) {
        fprintf(stderr, "commands_bench: %s\n", e.what());
        return 1;
    }
    return 0;
}
