/** The companions' own command lines. */
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "link/mailbox.h"
#include "memory/hostlock.h"
#include "tests/support/privateshm.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testsupport::ProcessResult;
using testsupport::ReadFile;
using testsupport::RunProcess;

namespace {

using Arguments = std::vector<std::string>;

class CompanionsTest : public UpgradeTest {
  protected:
    std::string make(Arguments arguments) const {
        arguments.emplace_back("made");
        const ProcessResult result = RunProcess(TFI_MAKE, arguments, i_directory.path());
        EXPECT_EQ(result.exitValue, 0) << result.err;
        return ReadFile(i_directory.path("made"));
    }
};

struct UsageCase {
    const char* program;
    Arguments arguments;
    const char* error;
};

TEST_F(CompanionsTest, ReportWrongUsageInOneLine) {
    const UsageCase cases[] = {
        {TOLMIRA_CONTROLLER, {"--bogus"}, "unexpected argument: --bogus"},
        {TOLMIRA_CONTROLLER, {"a", "b", "--c"}, ": unexpected arguments: a b --c"},
        {TOLMIRA_CONTROLLER, {"--revision"}, "--revision: give a value"},
        {TOLMIRA_CONTROLLER, {"--trace=no"}, "--trace: takes no value"},
        {TOLMIRA_CONTROLLER, {"--revision", "65536"}, "not a valid value: --revision = 65536"},
        {TOLMIRA_CONTROLLER,
         {"--expect-checksum", "12345"},
         "--expect-checksum: give four hexadecimal digits, not 12345"},
        {TOLMIRA_CONTROLLER, {"--faults", "die@1.0"}, "info.BYTE or end.BYTE"},
        {TOLMIRA_CONTROLLER,
         {"--faults", "", "--seed", "1", "--pages", "2"},
         "--faults excludes --seed"},
        {TOLMIRA_CONTROLLER, {"--seed", "1"}, "--seed requires --pages"},
        {TFI_MAKE, {}, "file is required"},
        {TFI_MAKE, {"made"}, "exactly 1 option from [--pages,--size] is required"},
        {TFI_MAKE,
         {"--size", "2", "--pages", "2", "made"},
         "exactly 1 option from [--pages,--size] is required and 2 were given"},
        {TFI_MAKE,
         {"--pages", "2", "--pattern", "plaid", "made"},
         "--pattern: plaid not in {random,count,zero}"},
    };
    for (const UsageCase& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        const ProcessResult result = RunProcess(c.program, c.arguments, i_directory.path());
        EXPECT_EQ(result.exitValue, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_THAT(result.err, EndsWith(std::string(c.error) + " (see --help)\n"));
    }
}

TEST_F(CompanionsTest, MakeImages) {
    EXPECT_EQ(make({"--size", "0"}), "\n\n\n\n\n\nEND\n");
    EXPECT_EQ(make({"--size", "1", "--checksum", "0x1234"}), "\n\n\n\n\n\nEND\n\x34");
    EXPECT_EQ(make({"--size", "5", "--pattern", "count", "--seed", "254", "--header", "one",
                    "--header", "two", "--end-text", " here"}),
              std::string("one\ntwo\n\n\n\n\nEND here\n\xFE\xFF\0\xFD\x01", 26));
    const std::string first = make({"--pages", "3", "--seed", "1"});
    EXPECT_EQ(first.size(), 10U + 3 * 256);
    EXPECT_EQ(first, make({"--pages", "3"}));
    EXPECT_NE(first, make({"--pages", "3", "--seed", "2"}));
}

TEST_F(CompanionsTest, ReportFailuresWithARemedy) {
    const ProcessResult maker =
        RunProcess(TFI_MAKE, {"--size", "2", "no/such/folder"}, i_directory.path());
    EXPECT_EQ(maker.exitValue, 1);
    EXPECT_THAT(maker.err, StartsWith("tfi_make: cannot write no/such/folder: No such file"));
    const ProcessResult controller =
        RunProcess(TOLMIRA_CONTROLLER, {"--object", "/no/such"}, i_directory.path());
    EXPECT_EQ(controller.exitValue, 1);
    EXPECT_THAT(controller.err, StartsWith("tolmira_controller: shared memory /no/such: cannot"));
}

TEST_F(CompanionsTest, EndAfterTheHostWithOnce) {
    writeImage(testsupport::Payload(300));
    testsupport::Process controller(TOLMIRA_CONTROLLER,
                                    {"--once", "--trace", "--json", "--idle-timeout", "100"},
                                    i_directory.path(), "controller");
    EXPECT_EQ(upgrade().exitValue, 0);
    const ProcessResult result = controller.wait();
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_THAT(result.err, HasSubstr("trace: host sends page 1, attempt 1, CRC "));
    EXPECT_THAT(result.out,
                StartsWith("{\"format\":1,\"flash_pages\":2,\"flash_bytes\":512,\"checksum\":\""));
}

TEST_F(CompanionsTest, RefuseAnObjectInUse) {
    testsupport::Region region;
    const std::string own = "pid " + std::to_string(getpid());
    const int fd = shm_open("/resource0", O_RDWR, 0);
    LockAsHost(fd);
    region.setWord(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
    Controller(i_directory).stop();  // the host still waits for a controller
    EXPECT_EQ(region.word(MAILBOX_RX_FLAG), 0U);

    region.setWord(MAILBOX_TX_STATE, STATE_READY);
    const ProcessResult atWork = RunProcess(TOLMIRA_CONTROLLER, {"--json"}, i_directory.path());
    EXPECT_EQ(atWork.exitValue, 1);
    EXPECT_THAT(atWork.err, HasSubstr("a tolmira_upgrade is at work on it, " + own + "; "));
    EXPECT_THAT(atWork.out, StartsWith("{\"format\":1,\"error\":\"shared memory /resource0: a "));
    EXPECT_EQ(region.word(MAILBOX_TX_STATE), STATE_READY) << "nothing was touched";
    Controller(i_directory, {"--force"}).stop();

    ASSERT_TRUE(LockAsController(fd));
    EXPECT_THAT(RunProcess(TOLMIRA_CONTROLLER, {}, i_directory.path()).err,
                HasSubstr("another tolmira_controller serves it, " + own + "; "));
    close(fd);
    region.setWord(MAILBOX_TX_STATE, STATE_READY);
    Controller(i_directory).stop();  // a killed controller left the mailbox like this
}

// Without the check a store would end the controller with SIGBUS.
TEST_F(CompanionsTest, ReportFullSharedMemory) {
    const testsupport::FullSharedMemory memory;
    if (!memory.full()) {
        GTEST_SKIP() << "the machine doesn't permit a private /dev/shm";
    }
    const ProcessResult result = RunProcess(TOLMIRA_CONTROLLER, {}, i_directory.path());
    EXPECT_EQ(result.exitValue, 1);
    EXPECT_THAT(result.err,
                HasSubstr("cannot allocate the mailbox in it: No space left on device; "));
}

TEST_F(CompanionsTest, ShowTheFaultsOfASeed) {
    Controller controller(i_directory, {"--seed", "7", "--pages", "40"});
    EXPECT_THAT(controller.stop().out, StartsWith("controller: faults length=0x7FFFFFF@39.1\n"));
}

TEST_F(CompanionsTest, CompareTheChecksum) {
    writeImage(testsupport::Payload(300));
    Controller controller(i_directory, {"--expect-checksum", "0000"});
    EXPECT_EQ(upgrade().exitValue, 0) << "the controller doesn't answer the information";
    EXPECT_EQ(controller.stop().exitValue, 1);
    EXPECT_EQ(controller.report("upgrades"), 0);
    EXPECT_EQ(controller.report("revision"), 0);
}

}  // namespace
