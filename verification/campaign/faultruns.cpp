#include "verification/campaign/faultruns.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>

#include "verification/campaign/model.h"

namespace campaign {

namespace {

constexpr size_t KINDS = static_cast<size_t>(controller::FaultKind::Revise) + 1;

/** Totals, in memory that all processes share. */
struct Figures {
    std::atomic<uint64_t> runs;
    std::atomic<uint64_t> differences;
    std::atomic<uint64_t> calls;
    std::atomic<uint64_t> resets;
    std::atomic<uint64_t> sentAgain;
    std::atomic<uint64_t> faultless;
    std::atomic<uint64_t> exitValues[256];
    /** By kind: the faults planned, and those that acted. */
    std::atomic<uint64_t> planned[KINDS];
    std::atomic<uint64_t> acted[KINDS];
};

uint64_t Count(const std::string& text, const std::string& part) {
    uint64_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::string KindName(size_t kind) {
    controller::Fault fault;
    fault.kind = static_cast<controller::FaultKind>(kind);
    const std::string text = controller::ScheduleText({fault});
    return text.substr(0, text.find_first_of("=@"));
}

void Add(Figures& figures, const Scenario& scenario, const RunOutcome& outcome) {
    ++figures.runs;
    figures.calls += outcome.steps.size();
    figures.resets += outcome.resets;
    figures.faultless += scenario.faults.empty() ? 1 : 0;
    if (outcome.signal == 0) {
        ++figures.exitValues[outcome.exitValue];
    }
    for (const char* line : {"did not send", "Failed to get", "Failed to send YAMP"}) {
        figures.sentAgain += Count(outcome.log, line);
    }
    for (const controller::Fault& fault : scenario.faults) {
        ++figures.planned[static_cast<size_t>(fault.kind)];
    }
    for (size_t kind = 0; kind < KINDS; ++kind) {
        figures.acted[kind] += Count("\n" + outcome.events, "\nfault: " + KindName(kind));
    }
}

void Check(TestBench& bench, Figures& figures, const Scenario& scenario) {
    const RunOutcome predicted = Predict(scenario);
    const RunOutcome seen = bench.run(scenario);
    Add(figures, scenario, seen);
    const std::string differences = Differences(predicted, seen);
    if (!differences.empty()) {
        ++figures.differences;
        const std::string text =
            "DIFFERENCE: scripts/campaign " + Options(scenario) + "\n" + differences;
        // One write, so that lines of other processes cannot come between.
        fwrite(text.data(), 1, text.size(), stdout);
        fflush(stdout);
    }
}

void PrintFigures(const Figures& figures, double seconds) {
    printf("runs %lu, differences %lu, %.1f seconds, %.0f runs a second\n", figures.runs.load(),
           figures.differences.load(), seconds, static_cast<double>(figures.runs) / seconds);
    printf("exit value 0: %lu, 1: %lu, 255: %lu\n", figures.exitValues[0].load(),
           figures.exitValues[1].load(), figures.exitValues[255].load());
    printf(
        "runs without a fault %lu, calls of the tool %lu, resets by the host %lu, "
        "failed attempts at a page %lu\n",
        figures.faultless.load(), figures.calls.load(), figures.resets.load(),
        figures.sentAgain.load());
    uint64_t planned = 0;
    uint64_t acted = 0;
    printf("faults that acted, of those planned:");
    for (size_t kind = 0; kind < KINDS; ++kind) {
        planned += figures.planned[kind];
        acted += figures.acted[kind];
        printf(" %s %lu/%lu,", KindName(kind).c_str(), figures.acted[kind].load(),
               figures.planned[kind].load());
    }
    printf(" total %lu/%lu\n", acted, planned);
}

bool RunAll(const Programs& programs, const WorkLimits& extent,
            const std::function<Scenario(uint64_t)>& scenarioOf) {
    auto* figures = new (SharedMemory(sizeof(Figures))) Figures{};
    const auto start = std::chrono::steady_clock::now();
    const bool good = DistributeWork(extent, [&] {
        const auto bench = std::make_shared<TestBench>(programs);
        return [bench, figures, &scenarioOf](uint64_t run) {
            Check(*bench, *figures, scenarioOf(run));
        };
    });
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    PrintFigures(*figures, time.count());
    return good && figures->differences == 0 && figures->runs != 0;
}

}  // namespace

bool RunSeeds(const Programs& programs, uint64_t seed, const WorkLimits& extent) {
    return RunAll(programs, extent,
                  [seed](uint64_t run) { return RandomScenario(SeedOfRun(seed, run)); });
}

bool RunOne(const Programs& programs, const Scenario& scenario) {
    return RunAll(programs, {1, 0, 1}, [&](uint64_t) { return scenario; });
}

}  // namespace campaign
