/** The tool with one of the standard descriptors closed at the start. */
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>

#include "link/mailbox.h"
#include "tests/upgradefixture.h"

using testsupport::ProcessResult;
using testsupport::ReadFile;

namespace {

constexpr size_t MAILBOX_END = MAILBOX_OFFSET + MAILBOX_SIZE;

class DescriptorsTest : public UpgradeTest, public testing::WithParamInterface<const char*> {
  protected:
    /** Runs the tool with the parameter's descriptor closed. */
    ProcessResult upgradeClosed() const {
        const std::string script = std::string("exec \"$0\" image configuration ") + GetParam();
        return testsupport::RunProcess("/bin/sh", {"-c", script, TOLMIRA_UPGRADE},
                                       i_directory.path());
    }
};

/** Whether the regions are all zero outside the mailbox. */
bool OnlyTheMailboxIsUsed() {
    std::string registers = ReadFile("/dev/shm/resource0");
    std::fill(registers.begin() + MAILBOX_OFFSET, registers.begin() + MAILBOX_END, '\0');
    const std::string memories = ReadFile("/dev/shm/resource1") + ReadFile("/dev/shm/resource2");
    return (registers + memories).find_first_not_of('\0') == std::string::npos;
}

TEST_P(DescriptorsTest, ARunWritesNothingIntoTheRegisters) {
    // Long enough for a log written to the start of /resource0 to reach the mailbox.
    writeImage(testsupport::Payload(size_t{200} * 256));
    Controller controller(i_directory);
    EXPECT_EQ(upgradeClosed().exitValue, 0);
    EXPECT_EQ(controller.report("good pages"), 200);
    EXPECT_TRUE(OnlyTheMailboxIsUsed());
}

TEST_P(DescriptorsTest, AFailedAssertionWritesNothingIntoTheRegisters) {
    ASSERT_EQ(mkdir("/dev/shm/resource1", 0777), 0);
    const ProcessResult result = upgradeClosed();
    ASSERT_EQ(rmdir("/dev/shm/resource1"), 0);
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_TRUE(OnlyTheMailboxIsUsed());
}

INSTANTIATE_TEST_SUITE_P(Closed, DescriptorsTest, testing::Values("<&-", ">&-", "2>&-"));

}  // namespace
