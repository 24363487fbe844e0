#include "verification/campaign/testbench.h"

#include <filesystem>
#include <stdexcept>

#include "tests/support/transcript.h"

namespace campaign {

namespace {

/** Away from its symbols, which only reports need, the tool starts in a third of the time. */
std::string CopyOf(const std::string& program, const testsupport::RunDirectory& directory) {
    std::string copy = directory.path("tolmira_upgrade");
    std::filesystem::copy_file(program, copy);
    return copy;
}

}  // namespace

TestBench::TestBench(const Programs& programs)
    : i_tool(CopyOf(programs.tool, i_directory), programs.library) {
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

void TestBench::start(const Scenario& scenario, uint64_t killAtLock) {
    std::vector<std::string> arguments = {"image", "configuration"};
    if (scenario.force) {
        arguments.insert(arguments.begin(), "-f");
    }
    i_tool.start(arguments, i_directory.path(), {scenario.everyAccess, killAtLock});
}

ToolEnd TestBench::runTool(EmbeddedController& controller, const Scenario& scenario) {
    start(scenario);
    return controller.serve(i_tool);
}

ToolEnd TestBench::killTool(EmbeddedController& controller, const Scenario& scenario,
                            uint64_t lock) {
    start(scenario, lock);
    return controller.serve(i_tool);
}

ToolEnd TestBench::watchTool(EmbeddedController& controller, const Scenario& scenario,
                             const std::function<void(uint64_t)>& onCall) {
    start(scenario);
    return controller.serve(i_tool, [&] { onCall(i_tool.locks()); });
}

Outcome TestBench::run(const Scenario& scenario) {
    const std::unique_ptr<EmbeddedController> controller = prepare(scenario);
    const ToolEnd end = runTool(*controller, scenario);
    Outcome outcome;
    outcome.exitValue = end.exitValue;
    outcome.signal = end.signal;
    outcome.log = testsupport::Normalised(end.out);
    outcome.err = end.hung ? "(the tool hangs)" + end.err : end.err;
    outcome.flash = controller->flash();
    outcome.words = controller->words();
    outcome.steps = controller->steps();
    outcome.resets = controller->resets();
    outcome.journal = controller->journal();
    return outcome;
}

}  // namespace campaign
