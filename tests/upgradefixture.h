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

/** tolmira_controller, started in the run's directory. It saves its flash to the file "flash". */
class Controller {
  public:
    /** Returns once the controller has announced itself. */
    explicit Controller(const testsupport::RunDirectory& directory,
                        const std::vector<std::string>& options = {});

    /** Ends it. */
    const testsupport::ProcessResult& stop();
    /** A number of the closing report; -1 if there is none of this name. Ends the controller. */
    long report(const std::string& name);
    /** Ends the controller. */
    std::string flash();

  private:
    std::string i_flashFile;
    testsupport::Process i_process;
    testsupport::ProcessResult i_result;
    bool i_stopped = false;
};

/** A directory for runs of the built tool. No shared memory of earlier tests is left. */
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

/** Adds the lines from "Controller is" to the one before the first page. */
void AddOpening(testsupport::Transcript& transcript, unsigned revision, const std::string& payload);
/** Adds the lines of good pages, from `first` up to, but not including, `end`. */
void AddSentPages(testsupport::Transcript& transcript, size_t first, size_t end);
/** Adds the lines after a page's last attempt has failed. */
void AddFailedPage(testsupport::Transcript& transcript, size_t page);

/** The lines of a run that delivers every page, from "Controller is" to "Done". */
testsupport::Transcript SuccessfulRun(const std::string& payload, unsigned revision = 0);

/** Adds to `before` the lines of a run that finds the tool's own revision. */
testsupport::Transcript AlreadyCurrent(testsupport::Transcript before = {});

/** Compares exit value and output of a run. Standard error must be empty. */
void ExpectRun(const testsupport::ProcessResult& result, int exitValue,
               const testsupport::Transcript& transcript);
