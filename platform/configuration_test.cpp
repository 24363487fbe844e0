#include "platform/configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "cpputils/include/returncodes.h"
#include "logger/loggerconfig.h"
#include "tests/support/child.h"
#include "tests/support/testdirectory.h"

using testing::MatchesRegex;
using testsupport::TestDirectory;

namespace {

std::string Printed(const Configuration& configuration) {
    std::ostringstream out;
    configuration.print(out);
    return out.str();
}

Configuration Loaded(const std::string& contents) {
    const TestDirectory directory;
    Configuration configuration;
    EXPECT_EQ(configuration.load(directory.write("file", contents), true), 0);
    return configuration;
}

// The printed form shows everything that a record holds.
TEST(Configuration, ReadsEachKindOfLine) {
    const struct {
        const char* what;
        std::string contents;
        std::string printed;
    } cases[] = {
        {"empty file", "", ""},
        {"comments and blanks", "# a=1\n\n \t \n  # [b]\n", ""},
        {"key line", "a=1\n", "  a=1\n\n"},
        {"white space of all eight kinds, and a CR", " \a\b\f\v\t a \a=\b v w \v\f\r\n",
         "  a=v w\n\n"},
        {"second equals sign", "a=b=c=\n", "  a=b=c=\n\n"},
        {"brackets in the value", "a=x[y]\nb=2\n", "  a=x[y]\n  b=2\n\n"},
        {"hash inside a line", "a#b=c # d\n", "  a#b=c # d\n\n"},
        {"empty key and value", "=\na=\n", "  =\n  a=\n\n"},
        {"neither header nor key", "words\na=1\n]\n", "  a=1\n\n"},
        {"header", "[s]\na=1\n", "[s]\n  a=1\n\n"},
        {"header before an equals sign", "[s]=x\na=1\n", "[s]\n  a=1\n\n"},
        {"equals sign in the name", "[s=t]\na=1\n", "[s=t]\n  a=1\n\n"},
        {"header after text", "key[0]=5\na=1\n", "[0]\n  a=1\n\n"},
        {"header's name is not trimmed", "  [ s ] rest\na=1\n", "[ s ]\n  a=1\n\n"},
        {"empty name", "[]\na=1\n", "[]\n  a=1\n\n"},
        {"bracket in the name", "[a[b]]\na=1\n", "[a[b]\n  a=1\n\n"},
        {"bracket not closed", "[s]\n[t\n[u=1\n][v\na=1\n", "[s]\n  a=1\n\n"},
        {"closing bracket first", "]x[s]\na=1\n", "[s]\n  a=1\n\n"},
        {"section without keys", "[s]\n[t]\na=1\n[u]\n", "[t]\n  a=1\n\n"},
        {"back to the default section", "a=1\n[s]\nb=2\n[default]\nc=3\n",
         "  a=1\n  c=3\n\n[s]\n  b=2\n\n"},
        {"section in two parts", "[s]\na=1\n[t]\nb=2\n[s]\nc=3\n",
         "[s]\n  a=1\n  c=3\n\n[t]\n  b=2\n\n"},
        {"last of two lines wins", "a=1\n a = 2\n", "  a=2\n\n"},
        {"default section before smaller names, bytes unsigned",
         "b=2\nB=1\n[\xff]\nx=1\n[Z]\nx=1\n[a]\nx=1\n",
         "  B=1\n  b=2\n\n[Z]\n  x=1\n\n[a]\n  x=1\n\n[\xff]\n  x=1\n\n"},
        {"unended last line", "a=1\nb=2", "  a=1\n\n"},
        {"one unended line", "a=1", ""},
        {"long line", "a=" + std::string(100000, 'x') + "\n",
         "  a=" + std::string(100000, 'x') + "\n\n"},
        {"zero byte", std::string("a\0=\0\n", 5), std::string("  a\0=\0\n\n", 8)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Printed(Loaded(c.contents)), c.printed);
    }
}

TEST(Configuration, LoadsItsSavedFile) {
    const TestDirectory directory;
    const std::string path = directory.path("saved");
    EXPECT_EQ(Configuration().save(directory.write("saved", "old=1\nand longer\n")), 0);
    EXPECT_EQ(directory.read("saved"), "");

    Configuration configuration = Loaded("# gone\nk = v=w\n[s]\nx=[1]\ny=\n");
    ASSERT_EQ(configuration.save(path), 0);
    EXPECT_EQ(directory.read("saved"), "  k=v=w\n\n[s]\n  x=[1]\n  y=\n\n");
    Configuration again;
    EXPECT_EQ(again.load(path, false), 0);
    EXPECT_EQ(Printed(again), Printed(configuration));

    EXPECT_EQ(configuration.save(directory.path("no/such/directory")), e_Error_CannotOpenFile);
    EXPECT_EQ(configuration.save("/dev/full"), e_Error_WriteFailed);
}

TEST(Configuration, AddsOrReplacesOnLoad) {
    const TestDirectory directory;
    const std::string path = directory.write("file", "a=2\nb=2\n");
    Configuration added = Loaded("a=1\nc=1\n[s]\nd=1\n");
    EXPECT_EQ(added.load(path, false), 0);
    EXPECT_EQ(Printed(added), "  a=2\n  b=2\n  c=1\n\n[s]\n  d=1\n\n");
    EXPECT_EQ(added.load(path, true), 0);
    EXPECT_EQ(Printed(added), "  a=2\n  b=2\n\n");
}

TEST(Configuration, LogsEachLoadAndStaysAsItIsIfItFails) {
    const TestDirectory directory;
    const std::string noFile = directory.path("none");
    const std::string aDirectory = directory.path("");
    for (const std::string& path : {noFile, aDirectory}) {
        for (const bool clearFirst : {false, true}) {
            SCOPED_TRACE(path);
            Configuration configuration = Loaded("a=1\n");
            EXPECT_EQ(configuration.load(path, clearFirst), e_Error_CannotOpenFile);
            EXPECT_EQ(Printed(configuration), "  a=1\n\n");
        }
        const auto result =
            testsupport::RunInChild([&] { EXPECT_EQ(Printed(Configuration(path)), ""); });
        EXPECT_THAT(result.out, MatchesRegex("C: [0-9]+ S: WARNING T: p:[0-9]+ \"Could not load "
                                             "configuration file '" +
                                             path +
                                             "' on Configuration creation\" at "
                                             "platform/configuration\\.cpp:[0-9]+\\.\n"));
    }
    const std::string path = directory.write("file", "a=1\n");
    const auto result = testsupport::RunInChild([&] {
        LoggerConfig::instance()->setMinLogSeverity(0);
        Configuration(path).print();
    });
    EXPECT_THAT(result.out, MatchesRegex("C: [0-9]+ S: TRACE T: p:[0-9]+ \"Loading configuration "
                                         "file '" +
                                         path + "'\" at .*\n  a=1\n\n"));
}

TEST(Configuration, LooksUpWithoutCreatingAnything) {
    const Configuration configuration = Loaded("a=7 8\nempty=\n[s]\nb=2\n");
    EXPECT_TRUE(configuration.hasKey("a"));
    EXPECT_TRUE(configuration.hasKey("default", "a"));
    EXPECT_TRUE(configuration.hasKey("s", "b"));
    EXPECT_FALSE(configuration.hasKey("b"));
    EXPECT_FALSE(configuration.hasKey("t", "a"));
    EXPECT_FALSE(configuration.hasSection("t"));
    EXPECT_TRUE(configuration.hasSection("s"));
    EXPECT_EQ(configuration.getValue("default", "a", "other"), "7 8");
    EXPECT_EQ(configuration.getValue("default", "empty", "other"), "");
    EXPECT_EQ(configuration.getValue("default", "b", "other"), "other");
    EXPECT_EQ(configuration.getValue("t", "a", "other"), "other");

    // One stream for all: each value that is found clears its state.
    std::istringstream stream("untouched");
    EXPECT_EQ(configuration.getValue("b", stream), e_Error_NotFound);
    EXPECT_EQ(configuration.getValue("t", "b", stream), e_Error_NotFound);
    EXPECT_EQ(stream.str(), "untouched");
    int number = 0;
    stream >> number;
    EXPECT_FALSE(stream);
    EXPECT_EQ(configuration.getValue("a", stream), 0);
    EXPECT_TRUE(stream >> number);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(configuration.getValue("s", "b", stream), 0);
    EXPECT_TRUE(stream >> number);
    EXPECT_EQ(number, 2);
    EXPECT_TRUE(stream.eof());
    EXPECT_EQ(configuration.getValue("empty", stream), 0);
    EXPECT_EQ(stream.str(), "");
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(Printed(configuration), "  a=7 8\n  empty=\n\n[s]\n  b=2\n\n");
}

TEST(Configuration, SetsAndRemovesKeysAndTheirSections) {
    Configuration configuration;
    configuration.setValue("a", "1");
    configuration.setValue("a", "2");
    configuration.setValue("s", "b", "3");
    configuration.setValue("s", "c", "4");
    EXPECT_EQ(Printed(configuration), "  a=2\n\n[s]\n  b=3\n  c=4\n\n");
    configuration.removeValue("b");
    configuration.removeValue("t", "b");
    configuration.removeValue("s", "b");
    EXPECT_TRUE(configuration.hasSection("s"));
    configuration.removeValue("s", "c");
    EXPECT_FALSE(configuration.hasSection("s"));
    configuration.removeValue("a");
    EXPECT_FALSE(configuration.hasSection(defaultSection));
}

TEST(Configuration, MergesAnotherAndItself) {
    Configuration configuration = Loaded("a=1\nb=1\n");
    const Configuration other = Loaded("b=2\n[s]\nc=2\n");
    EXPECT_EQ(&configuration.merge(other), &configuration);
    EXPECT_EQ(Printed(configuration), "  a=1\n  b=2\n\n[s]\n  c=2\n\n");
    configuration.merge(configuration);
    EXPECT_EQ(Printed(configuration), "  a=1\n  b=2\n\n[s]\n  c=2\n\n");
    configuration.clear();
    EXPECT_EQ(Printed(configuration), "");
}

}  // namespace
