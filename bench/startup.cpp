/**
 * startup_bench: the processor time of a run that finds its controller there and up to date, so
 * that it ends behind its first accesses to the mailbox, and what memory it takes.
 */
#include <cstdio>
#include <filesystem>
#include <string>

#include "bench/pinned.h"
#include "bench/series.h"
#include "link/mailbox.h"
#include "tests/support/privateshm.h"
#include "tests/support/region.h"
#include "tests/support/rundirectory.h"
#include "tool/versioninfo.h"

namespace bench {

namespace {

constexpr int RUNS = 101;
constexpr int NOTHING_TO_DO = 255;

double Milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

void Measure(const std::string& tool) {
    const testsupport::RunDirectory directory;
    testsupport::Region region;
    const auto revision = static_cast<uint32_t>(GetVersionInfo().getRevision());
    region.setWord(MAILBOX_REVISION_LOW, revision & 0xFF);
    region.setWord(MAILBOX_REVISION_HIGH, revision >> 8);
    region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
    Series total;
    Series system;
    long peakKilobytes = 0;
    for (int run = 0; run < RUNS; ++run) {
        const rusage usage =
            RunPinned(0, NOTHING_TO_DO, [&] { BecomeTool(tool, directory.path()); });
        total.add(Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime));
        system.add(Milliseconds(usage.ru_stime));
        peakKilobytes = std::max(peakKilobytes, usage.ru_maxrss);
    }
    printf(
        "start-up, ms of processor: quarter %.2f, median %.2f, 3/4 %.2f, of it %.2f in the "
        "system; peak %ld KiB\n",
        total.quartile(1), total.quartile(2), total.quartile(3), system.quartile(2), peakKilobytes);
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
