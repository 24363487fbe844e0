/** The command line, the two files of settings, and the start-up. */
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "link/mailbox.h"
#include "tests/upgradefixture.h"

using testing::EndsWith;
using testing::HasSubstr;
using testsupport::Payload;
using testsupport::ProcessResult;
using testsupport::Transcript;

namespace {

using Arguments = std::vector<std::string>;

class CommandLineTest : public UpgradeTest {
  protected:
    CommandLineTest() { writeImage(i_payload); }

    std::string i_payload = Payload(300);
};

TEST_F(CommandLineTest, TouchesNothingAfterAWrongArgumentCount) {
    const Arguments cases[] = {
        {},
        {"image"},
        {"-f", "image"},
        {"image", "configuration", "more"},
        {"-ff", "image", "configuration"},
        {"--", "image", "configuration"},
        {"--force", "image", "configuration"},
        {"-f", "-f", "image"},
    };
    for (const Arguments& arguments : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitValue, EXIT_NOT_UPGRADED);
        EXPECT_EQ(testsupport::Normalised(result.out),
                  Transcript().assertion("argc == 3 + numOptions").text());
        EXPECT_THAT(result.err, HasSubstr("tolmira_upgrade [-f] image configuration"));
        EXPECT_FALSE(std::filesystem::exists("/dev/shm/resource0"));
    }
}

TEST_F(CommandLineTest, TakesTheOptionAnywhere) {
    const Arguments cases[] = {
        {"-f", "image", "configuration"},           {"image", "-f", "configuration"},
        {"image", "configuration", "-f"},           {"-f", "-f", "image", "configuration"},
        {"-ff", "first", "image", "configuration"},
    };
    Controller controller(i_directory, {"--revision", "19525"});
    for (const Arguments& arguments : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        unsetenv("POSIXLY_CORRECT");
        ExpectRun(run(arguments), 0, SuccessfulRun(i_payload, TOOL_REVISION));
        setenv("POSIXLY_CORRECT", "1", 1);
        ExpectRun(run(arguments), 0, SuccessfulRun(i_payload, TOOL_REVISION));
    }
}

TEST_F(CommandLineTest, ContinuesAfterAnUnknownOption) {
    Controller controller(i_directory);
    const ProcessResult result = run({"-x", "image", "configuration"});
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_EQ(testsupport::Normalised(result.out), SuccessfulRun(i_payload).text());
    EXPECT_THAT(result.err, HasSubstr("invalid option -- 'x'\n"));
    EXPECT_THAT(result.err, EndsWith("\nUnknown argument ?\n"));
}

TEST_F(CommandLineTest, ReportsSettingsThatCannotBeRead) {
    const Controller controller(i_directory, {"--revision", "19525"});
    for (const std::string name : {"no such file", "."}) {
        const std::string warning =
            "Could not load configuration file '" + name + "' on Configuration creation";
        ExpectRun(run({"image", name}), EXIT_NOT_UPGRADED,
                  AlreadyCurrent(Transcript().warning(warning)));
    }
    const Transcript transcript = AlreadyCurrent(Transcript().critical(
        "Software options file not present; using 1 mle(s), 18 input(s) and switcherMode "
        "e_SwitcherMode_Pelwin_FCFS."));
    ASSERT_EQ(unlink(i_directory.optionsFile().c_str()), 0);
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
    ASSERT_EQ(mkdir(i_directory.optionsFile().c_str(), 0777), 0);
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
}

TEST_F(CommandLineTest, RunsWithAnyConfiguration) {
    const std::string configurations[] = {
        "CPU_RATE=800\n",
        "CPU_RATE=abc\n[section\n= =\nMIN_LOG_SEVERITY=8\n",
        std::string(100000, '[') + '\n' + std::string(1000, '\0'),
    };
    Controller controller(i_directory, {"--revision", "19525"});
    for (const std::string& configuration : configurations) {
        i_directory.write("configuration", configuration);
        ExpectRun(run({"-f", "image", "configuration"}), 0,
                  SuccessfulRun(i_payload, TOOL_REVISION));
    }
    EXPECT_EQ(controller.report("upgrades"), 3);
}

TEST_F(CommandLineTest, CreatesThreeRegions) {
    const Controller controller(i_directory, {"--revision", "19525"});
    upgrade();
    for (const char* region : {"resource0", "resource1", "resource2"}) {
        EXPECT_EQ(std::filesystem::file_size(std::string("/dev/shm/") + region), REGION_SIZE);
    }
}

TEST_F(CommandLineTest, FinishesWhenItsLogCannotBeWritten) {
    const char* const cases[] = {
        // A pipe without a reader.
        "mkfifo log; exec 3<>log 4>log 3<&-; exec \"$0\" -f image configuration >&4",
        // A quota. The regions exist already.
        "ulimit -f 0; exec \"$0\" -f image configuration",
    };
    Controller controller(i_directory);
    EXPECT_EQ(upgrade().exitValue, 0);
    for (const char* script : cases) {
        SCOPED_TRACE(script);
        EXPECT_EQ(
            testsupport::RunProcess("/bin/sh", {"-c", script, TOLMIRA_UPGRADE}, i_directory.path())
                .exitValue,
            0);
    }
    EXPECT_EQ(controller.report("upgrades"), 3);
}

// The tool tries a start-up condition twice, then aborts.
TEST_F(CommandLineTest, StopsWithoutItsMemory) {
    ASSERT_EQ(mkdir("/dev/shm/resource1", 0777), 0);
    const ProcessResult result = upgrade();
    ASSERT_EQ(rmdir("/dev/shm/resource1"), 0);
    const std::string path = "/sys/bus/pci/devices/0000:01:00.0/resource1";
    // The error for a directory.
    const std::string why = " (Invalid argument)";
    EXPECT_EQ(testsupport::Normalised(result.out),
              Transcript()
                  .critical("open failed /resource1" + why)
                  .critical("open failed " + path + why)
                  .assertion("memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0)")
                  .critical("open failed /resource1" + why)
                  .critical("open failed " + path + why)
                  .text());
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_THAT(result.err,
                HasSubstr("memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0)"));
}

}  // namespace
