/**
 * transfer_bench: what a host adds to the hand-over of a byte. In each round the built tool and
 * three bare hosts send the same upgrade to the same far side, one after the other and each pinned
 * to a processor. The far side measures the time. The tool is compared with the bare host that
 * keeps the rules of the link. The better of the two that keep no rules is the round's lower bound.
 */
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
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

/** Empty turns between two polls of the bare host that rests; about 10 ns. */
constexpr unsigned SHORT_REST = 20;

/**
 * Nanoseconds a byte. Processors that share a cache hand a byte over in less, others need more; a
 * virtual machine's processors can move from one case to the other at any time.
 */
constexpr double NEAR_LIMIT = 200;

struct BenchSettings {
    std::vector<std::string> tools;
    uint16_t pages = 2000;
    unsigned rounds = 15;
    int hostProcessor = 0;
    int farProcessor = 1;
    bool csv = false;
};

/** One measurement of each host, in nanoseconds a byte. */
struct Round {
    double hard = 0;
    double resting = 0;
    double ruled = 0;
    std::vector<double> tools;

    double least() const { return std::min(hard, resting); }
    bool allOf(bool near) const {
        const auto fits = [near](double figure) { return (figure < NEAR_LIMIT) == near; };
        return fits(hard) && fits(resting) && fits(ruled) &&
               std::all_of(tools.begin(), tools.end(), fits);
    }
};

using Rounds = std::vector<Round>;

class Bench {
  public:
    explicit Bench(const BenchSettings& settings);
    void run();

  private:
    template <typename Host>
    double nanosecondsPerByte(Host host);
    double runTool(const std::string& tool);
    Round runOnce();
    void printCsv(const Rounds& rounds) const;
    void printTable(const char* placement, const Rounds& rounds) const;

    BenchSettings i_settings;
    testsupport::RunDirectory i_directory;
    controller::SharedRegion i_region;
    long i_peakKilobytes = 0;
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
        // Created in the child, since the tool is forked from this process and would inherit it.
        host(Upgrade(i_settings.pages));
        _exit(EXIT_SUCCESS);
    });
    return PerByte(farSide.result());
}

double Bench::runTool(const std::string& tool) {
    FarSide farSide(i_region.mailbox(), i_settings.farProcessor);
    farSide.expect(i_settings.pages);
    const rusage usage = RunPinned(i_settings.hostProcessor, EXIT_SUCCESS,
                                   [&] { BecomeTool(tool, i_directory.path()); });
    i_peakKilobytes = std::max(i_peakKilobytes, usage.ru_maxrss);
    return PerByte(farSide.result());
}

Round Bench::runOnce() {
    Round round;
    round.hard = nanosecondsPerByte(
        [&](const auto& frames) { SendUpgradePlainly(i_region.mailbox(), frames, 0); });
    for (const std::string& tool : i_settings.tools) {
        round.tools.push_back(runTool(tool));
    }
    round.ruled = nanosecondsPerByte(
        [&](const auto& frames) { SendUpgradeByTheRules(i_region.mailbox(), frames); });
    round.resting = nanosecondsPerByte(
        [&](const auto& frames) { SendUpgradePlainly(i_region.mailbox(), frames, SHORT_REST); });
    return round;
}

template <typename Figure>
Samples Collect(const Rounds& rounds, Figure figure) {
    Samples samples;
    for (const Round& round : rounds) {
        samples.add(std::invoke(figure, round));
    }
    return samples;
}

void Print(const std::string& name, const Samples& samples) {
    printf("%-36s %8.1f %8.1f %8.1f\n", name.c_str(), samples.quartile(1), samples.quartile(2),
           samples.quartile(3));
}

void Bench::printCsv(const Rounds& rounds) const {
    const auto median = [&](auto figure) { return Collect(rounds, figure).quartile(2); };
    printf("%u,%.1f,%.1f,%.1f,%ld\n", i_settings.pages,
           median([](const Round& round) { return round.tools[0]; }), median(&Round::least),
           median([](const Round& round) { return round.tools[0] - round.least(); }),
           i_peakKilobytes);
}

void Bench::printTable(const char* placement, const Rounds& rounds) const {
    if (rounds.empty()) {
        return;
    }
    printf("%-36s %8s %8s %8s\n", (placement + std::to_string(rounds.size())).c_str(), "quarter",
           "median", "3/4");
    Print("bare host, polling hard", Collect(rounds, &Round::hard));
    Print("bare host, with a short rest", Collect(rounds, &Round::resting));
    Print("lower bound, the better of a round", Collect(rounds, &Round::least));
    Print("bare host, by the rules", Collect(rounds, &Round::ruled));
    for (size_t i = 0; i < i_settings.tools.size(); ++i) {
        Print("tool " + std::to_string(i + 1),
              Collect(rounds, [i](const Round& r) { return r.tools[i]; }));
        Print("  above the host by the rules",
              Collect(rounds, [i](const Round& r) { return r.tools[i] - r.ruled; }));
        Print("  above the lower bound",
              Collect(rounds, [i](const Round& r) { return r.tools[i] - r.least(); }));
    }
}

void Bench::run() {
    Rounds all;
    Rounds near;
    Rounds far;
    for (unsigned number = 0; number < i_settings.rounds; ++number) {
        const Round round = runOnce();
        all.push_back(round);
        if (round.allOf(true)) {
            near.push_back(round);
        } else if (round.allOf(false)) {
            far.push_back(round);
        }
    }
    if (i_settings.csv) {
        printCsv(all);
        return;
    }
    printf(
        "processors %d and %d, %u pages, %u rounds, in %zu of them the placement changed; ns a "
        "byte\n",
        i_settings.hostProcessor, i_settings.farProcessor, i_settings.pages, i_settings.rounds,
        all.size() - near.size() - far.size());
    printTable("near, rounds: ", near);
    printTable("far apart, rounds: ", far);
    printf("peak resident set of the tool: %ld KiB\n", i_peakKilobytes);
}

int Run(int argc, char** argv) {
    BenchSettings settings;
    commandline::Program program("Compares the tool with bare hosts over the same far side.",
                                 "transfer_bench");
    program.option("--tool", settings.tools, "the built tool, or several to compare").required();
    program.option("--pages", settings.pages, "pages of the image").showDefault();
    program.option("--rounds", settings.rounds, "number of rounds; all hosts run in each")
        .showDefault();
    program.option("--host", settings.hostProcessor, "processor of the hosts").showDefault();
    program.option("--far", settings.farProcessor, "processor of the far side").showDefault();
    program.flag("--csv", settings.csv,
                 "one line: pages, tool, lower bound, excess (ns a byte), peak KiB");
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    for (std::string& tool : settings.tools) {
        tool = std::filesystem::absolute(tool);
    }
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
