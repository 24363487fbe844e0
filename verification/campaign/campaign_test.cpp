/** A campaign finds differences, and its library leaves other runs alone. */
#include <cstdlib>

#include "tests/upgradefixture.h"
#include "verification/campaign/model.h"
#include "verification/campaign/testbench.h"

using campaign::Differences;
using campaign::Predict;
using campaign::RunOutcome;
using campaign::Scenario;
using campaign::TestBench;

namespace {

const campaign::Programs PROGRAMS = {PRELOADABLE_TOOL, TOLMIRA_RUN, LOCKSTEP_LIBRARY};

class CampaignTest : public UpgradeTest {};

Scenario ScenarioOf(const std::string& faults) {
    std::string error;
    Scenario scenario;
    scenario.faults = *controller::ParseSchedule(faults, error);
    scenario.payload = 2;
    scenario.silenceMs = 1000;
    return scenario;
}

/** A change to one part of a run's outcome. */
struct OutcomeChange {
    const char* report;
    void (*make)(RunOutcome&);
};

TEST_F(CampaignTest, ReportsEachDifferenceFromThePrediction) {
    const OutcomeChange changes[] = {
        {"exit value", [](RunOutcome& seen) { seen.exitValue = 0; }},
        {"signal", [](RunOutcome& seen) { seen.signal = 6; }},
        {"standard error", [](RunOutcome& seen) { seen.err = "x"; }},
        {"resets", [](RunOutcome& seen) { ++seen.resets; }},
        {"log line 6", [](RunOutcome& seen) { seen.log.insert(seen.log.find("3 pages"), "1"); }},
        {"log line", [](RunOutcome& seen) { seen.log += "more\n"; }},
        {"flash byte 511", [](RunOutcome& seen) { seen.flash[511] ^= 1; }},
        {"flash byte 512", [](RunOutcome& seen) { seen.flash.resize(512); }},
        {"final word 31", [](RunOutcome& seen) { seen.words[31] ^= 0x80000000; }},
        {"step 7", [](RunOutcome& seen) { ++seen.steps[7].now; }},
        {"step 8", [](RunOutcome& seen) { seen.steps[8].words[5] ^= 0x200; }},
        {"step 9", [](RunOutcome& seen) { seen.steps[9].call = campaign::Call::Sleep; }},
    };
    Scenario scenario = ScenarioOf("result=1@2.1 silence@2.2 norearm");
    scenario.payload = 700;
    const RunOutcome predicted = Predict(scenario);
    EXPECT_EQ(Differences(predicted, predicted), "");
    for (const OutcomeChange& change : changes) {
        RunOutcome seen = predicted;
        change.make(seen);
        EXPECT_EQ(Differences(predicted, seen).find(std::string("  ") + change.report), 0U)
            << change.report;
    }
}

struct LimitCase {
    const char* faults;
    int exitValue;
    const char* line;
};

// Each poll that finds nothing advances the clock by a second. So the byte arrives with the last
// reading in time, or with the first one after the limit, which no longer counts.
TEST_F(CampaignTest, AgreesWithTheToolOnBothSidesOfItsLimits) {
    const LimitCase cases[] = {
        {"late=3000@0.1 norearm", 0, "Page 0 sent successfully"},
        {"late=3500@0.1 norearm", 255, "Failed to get response message"},
        // Two waits follow one another, and the second one starts at a poll.
        {"late=1@0.1 late=2500@0.1 norearm", 0, "Page 0 sent successfully"},
        {"late=2500@0.1 late=1@0.1 norearm", 255, "Failed to get response message"},
        {"slow=2000@0.1.5 norearm", 0, "Page 0 sent successfully"},
        {"slow=2500@0.1.5 norearm", 255, "Failed to send YAMP message attempt 0"},
    };
    TestBench bench(PROGRAMS);
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(c.faults);
        const Scenario scenario = ScenarioOf(c.faults);
        const RunOutcome seen = bench.run(scenario);
        EXPECT_EQ(seen.exitValue, c.exitValue);
        EXPECT_NE(seen.log.find(c.line), std::string::npos) << seen.log;
        EXPECT_EQ(Differences(Predict(scenario), seen), "");
    }
}

TEST_F(CampaignTest, LeavesOtherToolsAlone) {
    const std::string payload = testsupport::Payload(100);
    writeImage(payload);
    Controller controller(i_directory);
    setenv("LD_PRELOAD", LOCKSTEP_LIBRARY, 1);
    setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
    const testsupport::ProcessResult result = upgrade();
    unsetenv("LD_PRELOAD");
    ExpectRun(result, 0, SuccessfulRun(payload));
    EXPECT_EQ(controller.report("upgrades"), 1);
}

}  // namespace
