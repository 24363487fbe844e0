#include "verification/campaign/testbench.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/transcript.h"

namespace campaign {

namespace {

/** Without its symbol file, which only stack reports need, the copy starts faster. */
std::string CopyOf(const std::string& program, const testsupport::RunDirectory& directory) {
    std::string copy = directory.path(LOCKSTEP_PROGRAM);
    std::filesystem::copy_file(program, copy);
    return copy;
}

}  // namespace

TestBench::TestBench(const Programs& programs)
    : i_program(CopyOf(programs.tool, i_directory)),
      i_runner(programs.runner),
      i_tool(programs.library) {
    if (!i_region.open("/resource0")) {
        throw std::runtime_error("shared memory /resource0: " + i_region.error());
    }
}

void TestBench::writeImage(const Scenario& scenario) {
    if (scenario.image == ImageKind::Missing) {
        std::filesystem::remove(i_directory.path("image"));
    } else {
        i_directory.write("image", ImageOf(scenario));
    }
}

std::unique_ptr<EmbeddedController> TestBench::prepare(const Scenario& scenario) {
    writeImage(scenario);
    return std::make_unique<EmbeddedController>(scenario, i_region.mailbox());
}

ToolEnd TestBench::runTool(EmbeddedController& controller, const Scenario& scenario,
                           uint64_t killAtLock, const std::function<void(uint64_t)>& onCall) {
    std::vector<std::string> command = {i_program, "image", "configuration"};
    if (scenario.force) {
        command.insert(command.begin() + 1, "-f");
    }
    i_tool.start(std::move(command), i_directory.path(), {scenario.everyAccess, killAtLock});
    return controller.serve(i_tool, onCall);
}

ToolEnd TestBench::superviseTool(EmbeddedController& controller) {
    i_tool.start({i_runner, "--tool", i_program, "image", "configuration"}, i_directory.path(), {});
    return controller.serve(i_tool);
}

RunOutcome TestBench::run(const Scenario& scenario) {
    const std::unique_ptr<EmbeddedController> controller = prepare(scenario);
    const ToolEnd end = runTool(*controller, scenario);
    RunOutcome outcome;
    outcome.exitValue = end.exitValue;
    outcome.signal = end.signal;
    outcome.log = testsupport::Normalised(end.out);
    outcome.err = end.hung ? "(the tool hangs) " + end.err : end.err;
    outcome.flash = controller->flash();
    outcome.words = controller->words();
    outcome.steps = controller->steps();
    outcome.resets = controller->resets();
    outcome.events = controller->events();
    return outcome;
}

}  // namespace campaign
