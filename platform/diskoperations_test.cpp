#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "cpputils/include/returncodes.h"
#include "logger/logger.h"
#include "logger/loggerconfig.h"
#include "platform/diskaccess.h"
#include "tests/support/framedirectory.h"
#include "tests/support/timingoutslave.h"
#include "thread/systemcaller.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/** A frame with a running slave, and a directory whose programs replace those of the system. */
class DiskOperations : public testing::Test {
  protected:
    DiskOperations() {
        std::filesystem::create_directory(i_frame.path("bin"));
        const std::string path = i_frame.path("bin") + ':' + getenv("PATH");
        setenv("PATH", path.c_str(), 1);
        SystemCaller::instance().initialize(SYSCALLSLAVE);
    }

    void standIn(const std::string& program, const std::string& script) const {
        const std::string path = i_frame.write("bin/" + program, "#!/bin/sh\n" + script + "\n");
        chmod(path.c_str(), S_IRWXU);
    }
    bool exists(const std::string& name) const { return pathExists(i_frame.path(name)); }
    void mountUsb() const { std::filesystem::create_directories(i_frame.path("USBdata/usb0")); }

    static void startLog() { testing::internal::CaptureStdout(); }
    static std::string takeLog() {
        fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }

    testsupport::FrameDirectory i_frame;
};

TEST_F(DiskOperations, CreateADirectoryWhereAllowed) {
    i_frame.write("file", "");
    const struct {
        bool mounted;
        const char* directory;
        int result;
        const char* line;
    } cases[] = {
        {false, ".", 0, ""},
        {false, "../NANDdata/a b/c%s", 0, ""},
        {false, "../file/x%s", 256,
         "ERROR T: p:[0-9]+ \"Failed to create dir mkdir -p \"../file/x%s\", rc=0x00000100\""},
        {false, "../USBdata/usb0", e_Error_NotFound,
         "ERROR T: p:[0-9]+ \"USB device not mounted.\""},
        {false, "../USBdata/usb0/a", e_Error_NotFound, "\"USB device not mounted.\""},
        {true, "../USBdata/usb0", 0, ""},
        {true, "../USBdata/usb0/a/b/c", 0, ""},
        {true, "../USBdata/usb0/a/b/d/", 0, ""},
        {true, "../USBdata/usb0spare", -1,
         "WARNING T: p:[0-9]+ \"Could not create: ../USBdata/usb0spare.  "
         "Were you trying to create the USB dir\\?\""},
        {true, "../USBdata/usb0/file/x/y", -1,
         "CRITICAL T: p:[0-9]+ \"Could not create USB directory: ../USBdata/usb0/file/x, "
         "rc: 0xffffffff: Not a directory\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.directory);
        if (c.mounted) {
            mountUsb();
            i_frame.write("USBdata/usb0/file", "");
        }
        startLog();
        EXPECT_EQ(checkAndCreateDir(c.directory), c.result);
        EXPECT_THAT(takeLog(), c.result == 0 ? testing::Matcher<std::string>(IsEmpty())
                                             : ContainsRegex(c.line));
        EXPECT_EQ(pathExists(c.directory), c.result == 0);
    }
    const mode_t mask = umask(0);
    EXPECT_EQ(checkAndCreateDir("../USBdata/usb0/for all"), 0);
    umask(mask);
    EXPECT_EQ(std::filesystem::status("../USBdata/usb0/for all").permissions(),
              std::filesystem::perms::all);
}

TEST_F(DiskOperations, MirrorTheSource) {
    for (const char* name : {"from/a.txt", "from/b.log", "from/sub/c", "to/old", "to/old.txt"}) {
        i_frame.write(name, name);
    }
    startLog();
    EXPECT_EQ(copyFilesToFlash("../from", "../to", "*.txt"), 0);
    EXPECT_TRUE(exists("to/a.txt") && !exists("to/b.log") && !exists("to/old.txt"));
    EXPECT_TRUE(exists("to/old"));  // files that don't match the pattern stay
    EXPECT_EQ(copyFilesToOrFromNonUSB("../from", "../to", ""), 0);
    EXPECT_TRUE(exists("to/b.log") && exists("to/sub/c") && !exists("to/old"));
    EXPECT_EQ(copyFiles("../nothing", "../to", ""), 0);
    EXPECT_EQ(takeLog(), "");

    startLog();
    EXPECT_EQ(copyFilesToOrFromUSB("../from", "../USBdata/usb0/to", ""), e_Error_NotFound);
    standIn("rsync", "printf '%s|' \"$@\" >../arguments; echo 'no %s' >&2; exit 3");
    EXPECT_THAT(takeLog(), HasSubstr("\"USB device not mounted.\""));
    mountUsb();
    LoggerConfig::instance()->setMinLogSeverity(e_LogSeverity_DEBUG);
    for (const auto& copy : {copyFilesToFlash, copyFilesToOrFromNonUSB, copyFilesToOrFromUSB}) {
        startLog();
        EXPECT_EQ(copy("../from%d", "../to", "*.x"), 768);
        EXPECT_EQ(i_frame.read("arguments"),
                  "-rqx|--delete|--force|--include|*.x|--exclude|*|../from%d/|../to/|");
        const std::string command =
            R"(rsync -rqx --delete --force --include "*.x" --exclude "*" "../from%d/" "../to/")";
        EXPECT_THAT(
            takeLog(),
            AllOf(HasSubstr(R"("from = "../from%d", to = "../to", filepattern = "*.x"." at)"),
                  HasSubstr("\"" + command + " rc=768 \" at "), HasSubstr("\"no %s\n\""),
                  HasSubstr("\"Can't copy filepattern \"*.x\" from \"../from%d\" to "
                            "\"../to\", rc=0x00000300\"")));
    }
    LoggerConfig::instance()->resetToDefaults();
}

TEST_F(DiskOperations, PackTheLogsWithFewerFilesIfNecessary) {
    startLog();
    EXPECT_EQ(copyLogsToUSB(), e_Error_NotFound);
    mountUsb();
    standIn("touch", "");
    const std::string archive = "../USBdata/usb0/switcher/logs.tar.gz";
    const std::string pack = "touch /tmp/messages; touch /tmp/temp.out; tar -czf \"" + archive +
                             "\" /tmp/*.out /tmp/message*";
    standIn("tar", "case \"$*\" in *Events.log*) exit 2;; esac; [ ! -e \"$2\" ] && echo >\"$2\"");
    i_frame.write("USBdata/usb0/switcher/logs.tar.gz", "old");
    EXPECT_EQ(copyLogsToUSB(), 0);
    EXPECT_THAT(takeLog(), AllOf(HasSubstr("\"Syscall: " + pack + " /tmp/*Events.log* failed."),
                                 Not(HasSubstr(" rc="))));
    EXPECT_EQ(i_frame.read("USBdata/usb0/switcher/logs.tar.gz"), "\n");

    startLog();
    standIn("tar", "exit 2");
    standIn("rm", "exit 1");
    EXPECT_EQ(copyLogsToUSB(), 512);
    EXPECT_THAT(takeLog(), AllOf(HasSubstr("\"Error: rm -rf \"" + archive + "\"\""),
                                 HasSubstr("\"" + pack + " rc=512\""),
                                 HasSubstr("\"Can't copy logs to USB, rc=0x00000200\"")));
}

std::string Times(int count, const std::string& command) {
    return count == 0 ? "" : command + '\n' + Times(count - 1, command);
}

TEST_F(DiskOperations, RepeatCommandsThatTimeOut) {
    SystemCaller::instance().initialize(testsupport::WriteTimingOutSlave(i_frame));
    mountUsb();
    startLog();
    EXPECT_EQ(checkAndCreateDir("../new"), e_Error_Timeout);
    EXPECT_EQ(copyFiles("../from", "../USBdata/to", ""), e_Error_Timeout);
    std::filesystem::create_directory(i_frame.path("to"));
    EXPECT_EQ(copyFiles("../from", "../to", ""), e_Error_Timeout);
    EXPECT_EQ(copyLogs(), e_Error_Timeout);
    takeLog();
    const std::string archive = "\"../USBdata/usb0/switcher/logs.tar.gz\"";
    const std::string pack = "touch /tmp/messages; touch /tmp/temp.out; tar -czf " + archive +
                             " /tmp/*.out /tmp/message*";
    EXPECT_EQ(i_frame.read("syscallslave.commands"),
              Times(4, "mkdir -p \"../new\"") + Times(4, "mkdir -p \"../USBdata/to\"") +
                  Times(3, "rsync -rqx --delete --force \"../from/\" \"../to/\"") +
                  Times(4, "rm -rf " + archive) + Times(3, pack + " /tmp/*Events.log*") +
                  Times(4, "rm -rf " + archive) + Times(3, pack));
}

TEST_F(DiskOperations, ListTheSchemes) {
    startLog();
    EXPECT_THAT(readSchemeDir(), ElementsAre("Custom1", "Custom2", "Custom3", "Custom4"));
    EXPECT_EQ(takeLog(), "");
    const std::string schemes = "run/src/panel/schemes/";
    for (const char* name : {"b.xml", "a.xml", "Custom9.xml", "myCustom.xml", "c.xml.bak", "xml"}) {
        i_frame.write(schemes + name, "");
    }
    for (const char* name : {"Custom1x.xml", "b.xml", ".xml", "Z.xml"}) {
        i_frame.write(schemes + "crossover/" + name, "");
    }
    EXPECT_THAT(readSchemeDir(), ElementsAre("", "Custom1", "Custom1x", "Custom2", "Custom3",
                                             "Custom4", "Z", "a", "b", "b"));

    std::filesystem::remove_all(i_frame.path(schemes + "crossover"));
    i_frame.write(schemes + "crossover", "");
    startLog();
    EXPECT_THAT(readSchemeDir(), ElementsAre("Custom1", "Custom2", "Custom3", "Custom4", "a", "b"));
    std::filesystem::remove_all(i_frame.path("run/src"));
    i_frame.write("run/src", "");
    EXPECT_THAT(readSchemeDir(), IsEmpty());
    EXPECT_THAT(takeLog(),
                AllOf(ContainsRegex("CRITICAL T: p:[0-9]+ \"Could not scan default scheme path: "
                                    "Not a directory\""),
                      ContainsRegex("ERROR T: p:[0-9]+ \"Failed to create default scheme path\"")));
}

}  // namespace
