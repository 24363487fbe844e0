#pragma once

#include <functional>
#include <memory>
#include <string>

#include "companions/simulator/controller/sharedregion.h"
#include "tests/support/rundirectory.h"
#include "verification/campaign/embeddedcontroller.h"
#include "verification/campaign/locksteptool.h"
#include "verification/campaign/outcome.h"
#include "verification/campaign/scenario.h"

namespace campaign {

/** Where the programs of a campaign are. */
struct Programs {
    std::string tool;
    /** tolmira_run. */
    std::string runner;
    /** liblockstep.so. */
    std::string library;
};

/**
 * A place for runs, one after another: a directory, the card's address space, and the tool.
 *
 * The process has to have a /dev/shm of its own; see LockstepTool for what else it must not do.
 */
class TestBench {
  public:
    explicit TestBench(const Programs& programs);
    TestBench(const TestBench&) = delete;
    TestBench& operator=(const TestBench&) = delete;

    /** One run of the tool with the scenario's controller, and what came of it. */
    RunOutcome run(const Scenario& scenario);

    /** Puts the scenario's image in place, or takes away what is there. */
    void writeImage(const Scenario& scenario);
    /** A controller with nothing left of an earlier one, and the scenario's image. */
    std::unique_ptr<EmbeddedController> prepare(const Scenario& scenario);
    /**
     * One run of the tool with that controller, killed in front of this lock, from 1 on; `onCall`
     * is called in front of each call of the tool, with the locks so far.
     */
    ToolEnd runTool(EmbeddedController& controller, const Scenario& scenario,
                    uint64_t killAtLock = 0, const std::function<void(uint64_t)>& onCall = {});
    /** One that tolmira_run starts. */
    ToolEnd superviseTool(EmbeddedController& controller);

  private:
    testsupport::RunDirectory i_directory;
    std::string i_program;
    std::string i_runner;
    LockstepTool i_tool;
    controller::SharedRegion i_region;
};

}  // namespace campaign
