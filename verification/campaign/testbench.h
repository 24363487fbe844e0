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

/** The paths of a campaign's programs. */
struct Programs {
    std::string tool;
    /** tolmira_run. */
    std::string runner;
    /** liblockstep.so. */
    std::string library;
};

/**
 * For runs, one after another: a directory, the card's address space, and the tool.
 *
 * The process must have a private /dev/shm, and meet the conditions of LockstepTool.
 */
class TestBench {
  public:
    explicit TestBench(const Programs& programs);
    TestBench(const TestBench&) = delete;
    TestBench& operator=(const TestBench&) = delete;

    /** Runs the tool with the scenario's controller. */
    RunOutcome run(const Scenario& scenario);

    /** Writes the scenario's image, or removes the file if the image is missing. */
    void writeImage(const Scenario& scenario);
    /** Writes the image and creates a controller with a fresh mailbox. */
    std::unique_ptr<EmbeddedController> prepare(const Scenario& scenario);
    /**
     * Runs the tool with that controller. Kills it before lock `killAtLock`, counted from 1; 0:
     * never. Before each call of the tool, `onCall` gets the locks so far.
     */
    ToolEnd runTool(EmbeddedController& controller, const Scenario& scenario,
                    uint64_t killAtLock = 0, const std::function<void(uint64_t)>& onCall = {});
    /** Runs the tool through tolmira_run. */
    ToolEnd superviseTool(EmbeddedController& controller);

  private:
    testsupport::RunDirectory i_directory;
    std::string i_program;
    std::string i_runner;
    LockstepTool i_tool;
    controller::SharedRegion i_region;
};

}  // namespace campaign
