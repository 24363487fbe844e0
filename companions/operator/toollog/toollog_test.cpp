#include <gtest/gtest.h>

#include <csignal>

#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/runrecord.h"

using toollog::LogLine;
using toollog::LogReader;
using toollog::RunRecord;

namespace {

/** A line as the logger makes it. */
std::string Line(int counter, const char* severity, const std::string& message) {
    char start[64];
    snprintf(start, sizeof start, "C: %03d S: %s T: p:140129832895552 \"", counter, severity);
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

TEST(LogReader, CutsReportsHoweverTheyArrive) {
    const std::string name = "File name is a \"b\" at c:7\nC: no report\n.\n";
    const std::string output =
        "something else\n" + Line(1, "NOTICE", "Controller is 7\n") + Line(2, "NOTICE", name) +
        "S: EMERGENCY T: p:5 \"Assertion \"a == \"b\"\" failed.\" at tool/b.cpp:7.\n" +
        "C: x S: NOTICE T: p:1 \"not one\" at a:1.\n" + "C: 003 S: ERROR T: p:1 \"cut off\n" +
        Line(999, "ERROR", "Done\n") + "C: 000 S: NOTICE T: p:1 \"broken";
    const std::vector<std::string> expected = {
        "NOTICE|Controller is 7\n", "NOTICE|" + name, "EMERGENCY|Assertion \"a == \"b\"\" failed.",
        "ERROR|cut off\n",          "ERROR|Done\n",   "NOTICE|broken\n",
    };
    for (const size_t pieceSize : {size_t{1}, size_t{7}, output.size()}) {
        EXPECT_EQ(Read(output, pieceSize), expected) << pieceSize;
    }
}

TEST(Texts, AreTakenApartAsTheyArePutTogether) {
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

/** What the tool said when no controller came. */
std::string LogWithoutController() {
    std::string output;
    for (int look = 1; look <= 60; ++look) {
        output += Line(look, "NOTICE", "Controller isn't there, sleeping for 1 second\n");
    }
    return output + Line(61, "NOTICE", "Controller is missing, skipping upgrade");
}

// The causes that no whole run shows cheaply; tests/frameprograms_test.cpp has the rest.
TEST(RunRecord, TellsTheCause) {
    const struct {
        const char* what;
        std::string output;
        int exitValue;
        int signal;
        toollog::e_Cause cause;
    } cases[] = {
        {"missing", LogWithoutController(), 1, 0, toollog::e_Cause_ControllerMissing},
        {"odd value", LogWithoutController(), 255, 0, toollog::e_Cause_Unknown},
        {"not a word", "", 0, 0, toollog::e_Cause_Unknown},
        {"crash", Line(1, "NOTICE", "Done\n"), -1, SIGSEGV, toollog::e_Cause_Signal},
        {"abort without a report", "", -1, SIGABRT, toollog::e_Cause_Signal},
    };
    for (const auto& c : cases) {
        RunRecord record;
        LogReader reader([&](const LogLine& line) { record.take(line); });
        reader.take(c.output.data(), c.output.size());
        reader.finish();
        EXPECT_EQ(record.cause(c.exitValue, c.signal), c.cause) << c.what;
    }
}

TEST(RunRecord, CountsTheSilentAttempts) {
    RunRecord record;
    record.take({"NOTICE", "Page 3 did not send successfully\n"});
    record.take({"NOTICE", "Page 3 sent successfully\n"});
    EXPECT_EQ(record.pagesSent(), 4);
    EXPECT_TRUE(record.attempts().empty());
    record.take({"ERROR", "Failed to get response message\n"});
    record.take({"ERROR", "Failed to send YAMP message attempt 4\n"});
    record.take({"ERROR", "Failed to send page 4\n"});
    EXPECT_EQ(record.failedPage(), 4);
    EXPECT_EQ(record.failedAttempts(), 3U) << "those that a line tells";
    EXPECT_EQ(record.attempts(), (std::vector<toollog::e_Attempt>{
                                     toollog::e_Attempt_NoAnswer, toollog::e_Attempt_SendFailed,
                                     toollog::e_Attempt_OtherAnswer, toollog::e_Attempt_OtherAnswer,
                                     toollog::e_Attempt_OtherAnswer}));
}

TEST(RunRecord, TellsTheProgress) {
    RunRecord record;
    EXPECT_EQ(ProgressText(record, 0), "");
    record.take({"NOTICE", "Controller isn't there, sleeping for 1 second\n"});
    EXPECT_EQ(ProgressText(record, 0), "waiting for the controller, 1 s");
    record.take({"NOTICE", "Controller is 7\n"});
    EXPECT_EQ(ProgressText(record, 0), "");
    record.take({"NOTICE", "File is open size 76810 300 pages\n"});
    EXPECT_EQ(ProgressText(record, 4), "0 of 300 pages");
    record.take({"NOTICE", "Page 99 sent successfully\n"});
    EXPECT_EQ(ProgressText(record, 0), "100 of 300 pages");
    EXPECT_EQ(ProgressText(record, 4), "100 of 300 pages, 25.0 a second, 8 s left");
}

}  // namespace
