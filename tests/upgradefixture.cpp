#include "tests/upgradefixture.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/privateshm.h"

using testsupport::ProcessResult;
using testsupport::Transcript;

namespace {

class PrivateSharedMemory : public testing::Environment {
  public:
    void SetUp() override { testsupport::UsePrivateSharedMemory(); }
};

// GoogleTest owns it.
const testing::Environment* const PRIVATE_SHARED_MEMORY =
    testing::AddGlobalTestEnvironment(new PrivateSharedMemory);

void RemoveSharedMemory() {
    for (const char* name : {"/resource0", "/resource1", "/resource2"}) {
        shm_unlink(name);
    }
    shm_unlink("/resource0.lock");  // may mark a killed run
}

std::vector<std::string> ControllerArguments(const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"--flash", "flash", "--idle-timeout", "110"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

}  // namespace

Controller::Controller(const testsupport::RunDirectory& directory,
                       const std::vector<std::string>& options)
    : i_flashFile(directory.path("flash")),
      i_process(TOLMIRA_CONTROLLER, ControllerArguments(options), directory.path(), "controller") {
    EXPECT_TRUE(i_process.waitForOutput("controller: announced"));
}

const ProcessResult& Controller::stop() {
    if (!i_stopped) {
        i_result = i_process.stop();
        i_stopped = true;
        EXPECT_EQ(i_result.signal, 0);
        EXPECT_EQ(i_result.err, "") << "the controller reports a failure of its own";
    }
    return i_result;
}

long Controller::report(const std::string& name) {
    const std::string& out = stop().out;
    const size_t line = out.find('\n' + name + ": ");
    return line == std::string::npos ? -1 : atol(out.c_str() + line + name.size() + 3);
}

std::string Controller::flash() {
    stop();
    return testsupport::ReadFile(i_flashFile);
}

UpgradeTest::UpgradeTest() {
    RemoveSharedMemory();
}

UpgradeTest::~UpgradeTest() {
    RemoveSharedMemory();
}

void UpgradeTest::writeImage(const std::string& payload, const std::string& header) const {
    i_directory.write("image", header + payload);
}

ProcessResult UpgradeTest::run(const std::vector<std::string>& arguments) const {
    return testsupport::RunProcess(TOLMIRA_UPGRADE, arguments, i_directory.path());
}

void AddOpening(Transcript& transcript, unsigned revision, const std::string& payload) {
    const std::string file = testsupport::SHORTEST_HEADER + payload;
    transcript.notice("Controller is " + std::to_string(revision) + "\n")
        .notice("File name is image\n")
        .notice("Checksum is " + testsupport::ChecksumText(file) + "\n")
        .notice("File is open size " + std::to_string(file.size()) + " " +
                std::to_string(testsupport::PagesOf(payload)) + " pages\n");
}

void AddSentPages(Transcript& transcript, size_t first, size_t end) {
    for (size_t page = first; page < end; ++page) {
        transcript.notice("Page " + std::to_string(page) + " sent successfully\n");
    }
}

void AddFailedPage(Transcript& transcript, size_t page) {
    transcript.error("Failed to send page " + std::to_string(page) + "\n")
        .error("Failed to upgrade Tolmira controller!\n");
}

Transcript SuccessfulRun(const std::string& payload, unsigned revision) {
    Transcript transcript;
    AddOpening(transcript, revision, payload);
    AddSentPages(transcript, 0, testsupport::PagesOf(payload));
    return transcript.notice("Done\n");
}

Transcript AlreadyCurrent(Transcript before) {
    return before.notice("Controller is 19525\n")
        .notice("Controller is already at revision 19525\n");
}

void ExpectRun(const ProcessResult& result, int exitValue, const Transcript& transcript) {
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitValue, exitValue);
    EXPECT_EQ(testsupport::Normalised(result.out), transcript.text());
    EXPECT_EQ(result.err, "");
}
