#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "companions/toolcontract/toolcontract.h"
#include "tests/support/image.h"
#include "tests/support/process.h"
#include "tests/support/rundirectory.h"
#include "tests/support/transcript.h"

using toolcontract::EXIT_NOT_UPGRADED;
using toolcontract::TOOL_REVISION;

/** tolmira_controller, started in the run's directory; its flash is in the file "flash". */
class Controller {
  public:
    /** Returns when it has announced itself. */
    explicit Controller(const testsupport::RunDirectory& directory,
                        const std::vector<std::string>& options = {});

    /** Ends it. From then on its report and its flash can be read. */
    const testsupport::ProcessResult& stop();
    /** A number of the closing report. */
    long report(const std::string& name);
    std::string flash();

  private:
    std::string i_flashFile;
    testsupport::Process i_process;
    testsupport::ProcessResult i_result;
    bool i_stopped = false;
};

/** One run of the built tool in a directory of its own, without shared memory of earlier runs. */
class UpgradeTest : public testing::Test {
  protected:
    UpgradeTest();
    ~UpgradeTest() override;

    /** Writes the file "image": the shortest header, or the given one, and the payload. */
    void writeImage(const std::string& payload,
                    const std::string& header = testsupport::SHORTEST_HEADER) const;

    /** Runs the tool with these arguments. */
    testsupport::ProcessResult run(const std::vector<std::string>& arguments) const;
    /** Runs it on "image" and "configuration". */
    testsupport::ProcessResult upgrade() const { return run({"image", "configuration"}); }

    testsupport::RunDirectory i_directory;
};

/** Adds the lines from "Controller is" to the one in front of the first page. */
void AddOpening(testsupport::Transcript& transcript, unsigned revision, const std::string& payload,
                const std::string& header = testsupport::SHORTEST_HEADER);

/** The lines of a run that delivers every page, from "Controller is" to "Done". */
testsupport::Transcript SuccessfulRun(const std::string& payload, unsigned revision = 0,
                                      const std::string& header = testsupport::SHORTEST_HEADER);

/** Compares exit value and output of a run; standard error has to be empty. */
void ExpectRun(const testsupport::ProcessResult& result, int exitValue,
               const testsupport::Transcript& transcript);
