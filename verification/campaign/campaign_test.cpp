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

/** How many faults have acted. */
int FaultsIn(const std::string& events) {
    int count = 0;
    for (size_t at = 0; (at = events.find("fault: ", at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

// Faults at the limits of their places and values, in an image of three pages. The far side of the
// model shares no code with the controller.
TEST_F(CampaignTest, AgreesWithTheControllerOnEachFault) {
    const struct {
        const char* faults;
        int acting;
    } cases[] = {
        {"slow=700@1.1.100", 1},
        {"slow=7@begin.8 slow=7@1.1.272 slow=7@info.4 slow=7@end.8", 4},
        {"slow=9@2.1.271 slow=9@3.1.2 slow=9@3.1.4 slow=9@3.2.3 slow=9@2.2.3", 2},
        {"slow=2600@1.1 result=1@1.2", 2},
        {"slow=2600@1.1.9 slow=2600@1.2.271 slow=1@1.3.5", 3},
        {"slow=2600@begin.2 slow=1@0.1 slow=1@1.1.4 result=0@0.1", 4},
        {"die@1.1.271", 1},
        {"die@1.1.272", 1},
        {"die@end.8", 1},
        {"reset@1.1.7 early=1@1.1.7", 1},
        {"reset=100@1.1.7 result=9@1.2", 2},
        {"reset=5000@1.1.7", 1},
        {"reset=100@1.1.272", 1},
        {"reset=100@1.1.272 slow=100@1.1.272", 2},
        {"reset=0@2.1.272 early=4@2.1.5", 2},
        {"state10=1@1.1.100", 1},
        {"state10=3@1.1.100", 1},
        {"state10=3@1.1.272", 1},
        {"state7=4@1.1.100", 1},
        {"unasked=0@1.1.100 result=1@1.1", 2},
        {"early=4@1.1.100 result=1@1.1 late=5@1.1.4", 3},
        {"early=9@1.1.0 result=1@1.1 late=5@1.1.8", 2},
        {"body=0@1.1 result=1@1.1", 1},
        {"body=3@1.1 result=1@1.1", 2},
        {"result=255@1.1 id=0x2EA3@1.2", 2},
        {"extra=7@1.1 lead=0x3DC@1.1", 2},
        {"cut=8@1.1 length=0x8000001@1.1", 2},
        {"cut=8@1.1 length=0xFFFFFFFF@1.1", 2},
        {"length=12@1.1", 1},
        {"extra=1@2.1", 1},
        {"cut=3@1.1 cut=4@2.1 cut=9@0.1", 2},
        {"silence@1.1 result=1@1.2", 2},
        {"late=3000@1.1 late=3000@1.1.8 slow=4@2.1.0", 3},
        {"late=4500@1.1.8 slow=5@1.2.8", 2},
        {"late=1@1.1.9 overrun@1.1.9", 0},
        {"overrun@1.1.4 extra=1@1.1", 2},
        {"overrun@1.1.8", 1},
        {"stop=0@1.1", 1},
        {"stop=3@1.1 late=9@1.1.3", 1},
        {"stop=9@1.1", 1},
        {"stop=10@1.1", 0},
        {"norearm silence@1.1", 2},
        {"rearm=100 silence@1.1", 2},
        {"rearm=0 silence@1.1 silence@1.2", 3},
        {"dirty=0xABCDE100 revise=7 appear=3", 3},
    };
    TestBench bench(PROGRAMS);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.faults);
        Scenario scenario = ScenarioOf(c.faults);
        scenario.payload = 700;
        scenario.silenceMs = 100;
        const RunOutcome seen = bench.run(scenario);
        EXPECT_EQ(Differences(Predict(scenario), seen), "");
        EXPECT_EQ(FaultsIn(seen.events), c.acting) << seen.events;
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
