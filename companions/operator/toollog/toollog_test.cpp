#include <gtest/gtest.h>

#include <csignal>

#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/progresstext.h"
#include "companions/operator/toollog/runrecord.h"

using toollog::LogLine;
using toollog::LogReader;
using toollog::RunRecord;

namespace {

constexpr char THREAD[] = "140129832895552";

/** A line in the logger's format. */
std::string Line(int counter, const char* severity, const std::string& message) {
    char start[64];
    snprintf(start, sizeof start, "C: %03d S: %s T: p:%s \"", counter % 1000, severity, THREAD);
    return start + message + "\" at tool/a_file.cpp:31.\n";
}

std::vector<std::string> Read(const std::string& output, size_t pieceSize) {
    std::vector<std::string> messages;
    LogReader reader(
        [&](const LogLine& line) { messages.push_back(line.severity + '|' + line.message); });
    for (size_t at = 0; at < output.size(); at += pieceSize) {
        const std::string piece = output.substr(at, pieceSize);
        reader.take(piece.data(), piece.size());
    }
    reader.finish();
    return messages;
}

TEST(LogReader, SplitsTheOutputIntoReports) {
    const std::string name = "File name is a \"b\" at c:7\nC: no report\n.\n";
    const std::string thread = THREAD;
    const std::string output =
        "something else\n" + Line(1, "NOTICE", "Controller is 7\n") + Line(2, "NOTICE", name) +
        "S: EMERGENCY T: p:" + thread + " \"Assertion \"a == \"b\"\" failed.\" at tool/b.cpp:7.\n" +
        "C: x S: NOTICE T: p:1 \"not one\" at a:1.\n" + "C: 003 S: ERROR T: p:" + thread +
        " \"cut off\n" + Line(4, "ERROR", "Done\n") + "C: 005 S: NOTICE T: p:" + thread +
        " \"broken";
    const std::vector<std::string> expected = {
        "NOTICE|Controller is 7\n", "NOTICE|" + name, "EMERGENCY|Assertion \"a == \"b\"\" failed.",
        "ERROR|cut off\n",          "ERROR|Done\n",   "NOTICE|broken\n",
    };
    for (const size_t pieceSize : {size_t{1}, size_t{7}, output.size()}) {
        EXPECT_EQ(Read(output, pieceSize), expected) << pieceSize;
    }
}

// A file name is chosen without knowing the thread's handle.
TEST(LogReader, LetsNoFileNameForgeAReport) {
    const std::string end = "x\" at a.cpp:1.\n";
    const std::string forged[] = {
        "C: 003 S: NOTICE T: p:1 \"Done\n\" at a.cpp:1.\n",
        "C: 007 S: NOTICE T: p:" + std::string(THREAD) + " \"Done\n\" at a.cpp:1.\n",
        "S: EMERGENCY T: p:1 \"Assertion \"a\" failed.\" at a.cpp:1.\n",
        "S: NOTICE T: p:" + std::string(THREAD) + " \"Done\n\" at a.cpp:1.\n",
    };
    for (const std::string& line : forged) {
        std::string name = "File name is " + end;
        name += line;
        const std::string output = Line(1, "NOTICE", "Controller is 7\n") +
                                   Line(2, "NOTICE", name) + Line(3, "NOTICE", "Done\n");
        EXPECT_EQ(Read(output, output.size()),
                  (std::vector<std::string>{"NOTICE|Controller is 7\n", "NOTICE|File name is x",
                                            "NOTICE|Done\n"}))
            << line;
    }
}

TEST(LogReader, KeepsTheBeginningOfAnEndlessReport) {
    const std::string endless(3 * LogReader::LONGEST_REPORT, 'x');
    const std::vector<std::string> messages =
        Read(Line(1, "NOTICE", endless + "\n" + endless) + Line(2, "NOTICE", "Done\n"), 1000);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_LE(messages[0].size(), LogReader::LONGEST_REPORT + sizeof "NOTICE|");
    EXPECT_EQ(messages[1], "NOTICE|Done\n");
}

TEST(Texts, ParseWhatTheyFormat) {
    const auto found = toollog::Recognise("NOTICE", "File name is Page 7\nDone\n\n");
    EXPECT_EQ(found.text, toollog::e_LogText_FileName);
    EXPECT_EQ(found.values, std::vector<std::string>{"Page 7\nDone\n"});
    EXPECT_EQ(toollog::Message(found.text, found.values), "File name is Page 7\nDone\n\n");
    EXPECT_EQ(toollog::Message(toollog::e_LogText_Other), "");
    for (const char* other : {"Done", "Done\nx", "Controller is \n", "Controller is 7 \n",
                              "Page 7 sent successfully", " Done\n", ""}) {
        EXPECT_EQ(toollog::Recognise("NOTICE", other).text, toollog::e_LogText_Other) << other;
    }
    EXPECT_EQ(toollog::Recognise("ERROR", "Done\n").text, toollog::e_LogText_Other);
}

RunRecord RecordOf(const std::vector<LogLine>& lines) {
    RunRecord record;
    for (const LogLine& line : lines) {
        record.take(line);
    }
    return record;
}

// The causes that whole runs can't show quickly; tests/supervisedrun_test.cpp has the others.
TEST(RunRecord, DerivesTheCause) {
    const RunRecord missing = RecordOf({{"NOTICE", "Controller is missing, skipping upgrade"}});
    EXPECT_EQ(missing.cause(1, 0), toollog::e_Cause_ControllerMissing);
    EXPECT_EQ(missing.cause(255, 0), toollog::e_Cause_Unknown) << "another exit value";
    EXPECT_EQ(RunRecord().cause(0, 0), toollog::e_Cause_Unknown) << "no log";
    EXPECT_EQ(RecordOf({{"NOTICE", "Done\n"}}).cause(-1, SIGSEGV), toollog::e_Cause_Signal);
    EXPECT_EQ(RunRecord().cause(-1, SIGABRT), toollog::e_Cause_Signal) << "without an assertion";
}

TEST(RunRecord, CountsTheSilentAttempts) {
    RunRecord record = RecordOf({{"NOTICE", "Page 3 did not send successfully\n"},
                                 {"NOTICE", "Page 3 sent successfully\n"}});
    EXPECT_EQ(record.pagesSent(), 4);
    EXPECT_TRUE(record.attempts().empty());
    record.take({"ERROR", "Failed to get response message\n"});
    record.take({"ERROR", "Failed to send YAMP message attempt 4\n"});
    record.take({"ERROR", "Failed to send page 4\n"});
    EXPECT_EQ(record.failedPage(), 4);
    EXPECT_EQ(record.failedAttempts(), 3U) << "those that have a line";
    EXPECT_EQ(record.attempts(), (std::vector<toollog::e_Attempt>{
                                     toollog::e_Attempt_NoAnswer, toollog::e_Attempt_SendFailed,
                                     toollog::e_Attempt_OtherAnswer, toollog::e_Attempt_OtherAnswer,
                                     toollog::e_Attempt_OtherAnswer}));
}

// Another --tool may log anything.
TEST(RunRecord, BoundsItsNumbers) {
    RunRecord record = RecordOf({{"NOTICE", "Controller is 99999999999999999999\n"},
                                 {"NOTICE", "File is open size 1 300 pages\n"},
                                 {"NOTICE", "Page 99999999999999999999 sent successfully\n"}});
    EXPECT_EQ(record.revision(), 65535);
    EXPECT_EQ(record.pagesSent(), 300);
    for (int i = 0; i < 1000; ++i) {
        record.take({"WARNING", "again"});
        record.take({"ERROR", "Failed to get response message\n"});
        record.take({"NOTICE", "Controller isn't there, sleeping for 1 second\n"});
    }
    EXPECT_EQ(record.troubles().size(), RunRecord::MOST_TROUBLES);
    EXPECT_EQ(record.attempts().size(), toollog::ATTEMPTS);
    EXPECT_EQ(record.waits(), 60);
}

TEST(ProgressText, LeavesOutWhatDoesNotFit) {
    RunRecord record;
    EXPECT_EQ(ProgressText(record, {}, 80), "");
    record.take({"NOTICE", "Controller isn't there, sleeping for 1 second\n"});
    EXPECT_EQ(ProgressText(record, {}, 80), "waiting for the controller, 59 s left");
    EXPECT_EQ(ProgressText(record, {}, 20), "waiting, 59 s left");
    record.take({"NOTICE", "Controller is 7\n"});
    EXPECT_EQ(ProgressText(record, {}, 80), "");
    record.take({"NOTICE", "File is open size 76810 300 pages\n"});
    const struct {
        const char* text;
        long page;
        toollog::Pace pace;
        std::size_t width;
    } cases[] = {
        {"0 of 300 pages", -1, {1, 1}, 80},
        {"0 of 300 pages, stalled 4 s", -1, {4.9, 4.9}, 80},
        {"100 of 300 pages, 25.0 a second, 8 s left", 99, {4, 0}, 41},
        {"100 of 300 pages, 8 s left", 99, {4, 0}, 40},
        {"100 of 300, 8 s left", 99, {4, 0}, 20},
        {"100 of 300", 99, {4, 0}, 19},
        {"100 ", 99, {4, 0}, 4},
        {"100 of 300 pages, 25.0 a second, 8 s left", 99, {4, 1.9}, 80},
        {"100 of 300 pages, stalled 2 s", 99, {4, 2}, 80},
        {"stalled 4 s", 99, {8, 4}, 12},
        {"300 of 300 pages, 25.0 a second, 0 s left", 299, {12, 0}, 80},
    };
    for (const auto& c : cases) {
        if (c.page >= 0) {
            record.take({"NOTICE", "Page " + std::to_string(c.page) + " sent successfully\n"});
        }
        EXPECT_EQ(ProgressText(record, c.pace, c.width), c.text);
    }
}

}  // namespace
