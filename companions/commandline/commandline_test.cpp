#include "companions/commandline/commandline.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "companions/commandline/failure.h"
#include "companions/commandline/printable.h"
#include "companions/commandline/regularfile.h"
#include "tests/support/child.h"
#include "tests/support/testdirectory.h"

using commandline::OpenRegularFile;

namespace {

TEST(Printable, EscapesControlCharacters) {
    const std::pair<std::string, const char*> cases[] = {
        {"plain ~ text", "plain ~ text"},
        {"two\nlines\t", "two\\x0Alines\\x09"},
        {"\033[2J\x7F", "\\x1B[2J\\x7F"},
        {"back\\slash", "back\\\\slash"},
        {std::string("\0\xC3\xA9", 3), "\\x00\\xC3\\xA9"},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(commandline::Printable(bytes), text);
    }
}

TEST(ReportFailure, PrintsOneLineAndJsonOnRequest) {
    for (const bool json : {false, true}) {
        const auto result = testsupport::RunInChild(
            [&] { commandline::ReportFailure("program", "no \"a\nb\"\xFF; look", 3, json); });
        EXPECT_EQ(result.err, "program: no \"a\\x0Ab\"\\xFF; look\n");
        if (!json) {
            EXPECT_EQ(result.out, "");
            continue;
        }
        const auto object = nlohmann::json::parse(result.out);
        EXPECT_EQ(object["format"], 1);
        EXPECT_EQ(object["error"], "no \"a\nb\"\xEF\xBF\xBD; look");
        EXPECT_EQ(object["exit_value"], 3);
    }
}

TEST(Program, ReportsWrongUsageAsJsonOnRequest) {
    const struct {
        std::vector<const char*> words;
        bool json;
    } cases[] = {
        {{"program", "--bogus\n"}, false},
        {{"program", "--bogus", "--json"}, true},
        {{"program", "sub", "--json", "--bogus"}, true},
    };
    for (const auto& c : cases) {
        const auto result = testsupport::RunInChild([&] {
            bool json = false;
            commandline::Program program("Description", "program");
            program.flag("--json", json, "Answer as JSON");
            program.subcommand("sub", "A command", [] {});
            exit(program.read(static_cast<int>(c.words.size()), c.words.data()).value_or(0));
        });
        EXPECT_EQ(result.exitValue, 2);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(nlohmann::json::accept(result.out), c.json) << result.out;
    }
}

// Without O_NONBLOCK, opening the FIFO would wait for a writer.
TEST(OpenRegularFile, AcceptsOnlyRegularFilesAndNeverWaits) {
    const testsupport::TestDirectory directory;
    const std::string file = directory.path("file");
    const std::string fifo = directory.path("fifo");
    const std::string link = directory.path("link");
    std::ofstream(file) << "text";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink("file", link);
    const std::pair<std::string, const char*> refused[] = {
        {fifo, "not a regular file"},
        {directory.path(""), "not a regular file"},
        {"/dev/null", "not a regular file"},
        {directory.path("absent"), "No such file or directory"},
    };
    for (const auto& [path, reason] : refused) {
        std::string why;
        EXPECT_FALSE(OpenRegularFile(path, why)) << path;
        EXPECT_EQ(why, reason) << path;
    }
    for (const char* path : {fifo.c_str(), "/dev/null"}) {
        std::string why;
        EXPECT_FALSE(commandline::CreateRegularFile(path, why)) << path;
        EXPECT_EQ(why, "not a regular file") << path;
    }
    for (const std::string& path : {file, link}) {
        std::string why;
        char bytes[8];
        EXPECT_EQ(read(OpenRegularFile(path, why).get(), bytes, sizeof bytes), 4) << path;
    }
}

}  // namespace
