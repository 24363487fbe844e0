/**
 * transfer_bench: what a host adds to the hand-over of a byte. In each round the built tool and the
 * three bare hosts send the same upgrade to the same far side, one behind the other and pinned, and
 * the far side keeps the time. The better of the two that keep no rules is the round's floor.
 */
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "companions/commandline/commandline.h"
#include "companions/simulator/controller/sharedregion.h"
#include "tests/support/privateshm.h"
#include "tests/support/rundirectory.h"
#include "verification/bench/barehost.h"
#include "verification/bench/farside.h"
#include "verification/bench/pinned.h"
#include "verification/bench/samples.h"

namespace bench {

namespace {

/** Empty turns between two looks of the bare host that rests; about 10 ns. */
constexpr unsigned SHORT_REST = 20;

struct BenchSettings {
    std::string tool;
    uint16_t pages = 2000;
    unsigned rounds = 15;
    int hostProcessor = 0;
    int farProcessor = 1;
    bool csv = false;
};

/** One run of the tool: the time of its transfer, and what the process used. */
struct ToolRun {
    Transfer transfer;
    rusage usage = {};
};

class Bench {
  public:
    explicit Bench(const BenchSettings& settings);
    void run();

  private:
    template <typename Host>
    double nanosecondsPerByte(Host host);
    ToolRun runTool();

    BenchSettings i_settings;
    testsupport::RunDirectory i_directory;
    controller::SharedRegion i_region;
};

Bench::Bench(const BenchSettings& settings) : i_settings(settings) {
    if (!i_region.open("/resource0")) {
        throw std::runtime_error(i_region.error());
    }
    i_directory.write("image",
                      "\n\n\n\n\n\nEND\n" + std::string(size_t{settings.pages} * 256, '\0'));
}

double PerByte(const Transfer& transfer) {
    return static_cast<double>(transfer.nanoseconds) / static_cast<double>(transfer.bytes);
}

template <typename Host>
double Bench::nanosecondsPerByte(Host host) {
    FarSide farSide(i_region.mailbox(), i_settings.farProcessor);
    farSide.expect(i_settings.pages);
    RunPinned(i_settings.hostProcessor, EXIT_SUCCESS, [&] {
        // Made here: what this process holds would count for the tool, which is forked from it.
        host(Upgrade(i_settings.pages));
        _exit(EXIT_SUCCESS);
    });
    return PerByte(farSide.result());
}

ToolRun Bench::runTool() {
    FarSide farSide(i_region.mailbox(), i_settings.farProcessor);
    farSide.expect(i_settings.pages);
    ToolRun run;
    run.usage = RunPinned(i_settings.hostProcessor, EXIT_SUCCESS,
                          [&] { BecomeTool(i_settings.tool, i_directory.path()); });
    run.transfer = farSide.result();
    return run;
}

void Print(const char* name, const Samples& series) {
    printf("%-28s %8.1f %8.1f %8.1f\n", name, series.quartile(1), series.quartile(2),
           series.quartile(3));
}

void Bench::run() {
    Samples tool;
    Samples hard;
    Samples resting;
    Samples ruled;
    Samples floor;
    Samples excess;
    Samples ratio;
    long peakKilobytes = 0;
    for (unsigned round = 0; round < i_settings.rounds; ++round) {
        const double hardPolling = nanosecondsPerByte(
            [&](const auto& frames) { SendUpgradePlainly(i_region.mailbox(), frames, 0); });
        const ToolRun toolRun = runTool();
        const double shortRest = nanosecondsPerByte([&](const auto& frames) {
            SendUpgradePlainly(i_region.mailbox(), frames, SHORT_REST);
        });
        ruled.add(nanosecondsPerByte(
            [&](const auto& frames) { SendUpgradeByTheRules(i_region.mailbox(), frames); }));
        const double least = std::min(hardPolling, shortRest);
        const double own = PerByte(toolRun.transfer);
        tool.add(own);
        hard.add(hardPolling);
        resting.add(shortRest);
        floor.add(least);
        excess.add(own - least);
        ratio.add(own / least);
        peakKilobytes = std::max(peakKilobytes, toolRun.usage.ru_maxrss);
    }
    if (i_settings.csv) {
        printf("%u,%.1f,%.1f,%.1f,%ld\n", i_settings.pages, tool.quartile(2), floor.quartile(2),
               excess.quartile(2), peakKilobytes);
        return;
    }
    printf("processors %d and %d, %u pages, %u rounds; ns a byte\n", i_settings.hostProcessor,
           i_settings.farProcessor, i_settings.pages, i_settings.rounds);
    printf("%-28s %8s %8s %8s\n", "", "quarter", "median", "3/4");
    Print("bare host, polling hard", hard);
    Print("bare host, with a short rest", resting);
    Print("floor, the better of a round", floor);
    Print("bare host, by the rules", ruled);
    Print("tool", tool);
    Print("excess over the floor", excess);
    printf("%-28s %8.2f %8.2f %8.2f\n", "ratio to the floor", ratio.quartile(1), ratio.quartile(2),
           ratio.quartile(3));
    printf("peak resident set of the tool: %ld KiB\n", peakKilobytes);
}

int Run(int argc, char** argv) {
    BenchSettings settings;
    commandline::Program program("Compares the tool with bare hosts over the same far side.",
                                 "transfer_bench");
    program.option("--tool", settings.tool, "the built tool").required();
    program.option("--pages", settings.pages, "pages of the image").showDefault();
    program.option("--rounds", settings.rounds, "how often all hosts run").showDefault();
    program.option("--host", settings.hostProcessor, "processor of the hosts").showDefault();
    program.option("--far", settings.farProcessor, "processor of the far side").showDefault();
    program.flag("--csv", settings.csv,
                 "one line: pages, tool, floor, excess (ns a byte), peak KiB");
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    settings.tool = std::filesystem::absolute(settings.tool);
    testsupport::UsePrivateSharedMemory();
    Bench(settings).run();
    return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    try {
        return bench::Run(argc, argv);
    } catch (const std::exception& e) {
        fprintf(stderr, "transfer_bench: %s\n", e.what());
        return 1;
    }
}
