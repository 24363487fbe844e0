/*
 * Replays runs of the model on the code. The traces in model/traces are written by scripts/model.
 * A trace has a line for each call, each access that the call makes, and each result:
 *
 *     present, enable, send BYTE, read, close
 *     R ADDRESS BYTE, W ADDRESS BYTE   a byte read, a byte written
 *     time                             a wait times out
 *     is RESULT
 */

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "link/routercomms.h"
#include "tests/support/faketime.h"

using testsupport::FakeTime;

namespace {

struct Line {
    std::string word;
    unsigned int first = 0;
    unsigned int second = 0;
};

std::vector<Line> ReadTrace(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<Line> lines;
    std::string text;
    while (std::getline(file, text)) {
        std::istringstream stream(text);
        Line line;
        stream >> line.word >> line.first >> line.second;
        lines.push_back(line);
    }
    return lines;
}

/** A mailbox that expects the accesses of a trace, and returns the bytes in it. */
class TracedMailbox : public RouterCommsInterface {
  public:
    explicit TracedMailbox(std::vector<Line> trace) : i_trace(std::move(trace)) {}

    unsigned char readAddress(unsigned int address) override {
        const Line line = next();
        expect(line, "R", address, line.second);
        if (word() == "time") {
            next();
            i_time.advance({10, 0});
        }
        return static_cast<unsigned char>(line.second);
    }
    void writeAddress(unsigned int address, unsigned char value) override {
        expect(next(), "W", address, value);
    }

    /** The first word of the next line; empty at the end. */
    std::string word() const {
        return i_position < i_trace.size() ? i_trace[i_position].word : std::string();
    }
    Line next() {
        if (i_position == i_trace.size()) {
            ADD_FAILURE() << "an access after the end of the trace";
            return {};
        }
        return i_trace[i_position++];
    }
    void expectResult(bool result) {
        const Line line = next();
        EXPECT_EQ(line.word, "is") << "line " << i_position;
        EXPECT_EQ(line.first, result ? 1U : 0U) << "line " << i_position;
    }

  private:
    void expect(const Line& line, const char* word, unsigned int address, unsigned int value) {
        EXPECT_EQ(line.word, word) << "line " << i_position;
        EXPECT_EQ(line.first, address) << "line " << i_position;
        EXPECT_EQ(line.second, value) << "line " << i_position;
        if (::testing::Test::HasFailure()) {
            i_time.advance({10, 0});  // so that every wait ends
        }
    }

    FakeTime i_time{{1000, 0}};
    std::vector<Line> i_trace;
    size_t i_position = 0;
};

void Replay(TracedMailbox& mailbox) {
    RouterCommWriter writer(&mailbox);
    auto reader = std::make_unique<RouterCommReader>(&mailbox);
    while (!mailbox.word().empty() && !::testing::Test::HasFailure()) {
        const Line call = mailbox.next();
        unsigned char byte = 0;
        if (call.word == "present") {
            EXPECT_TRUE(writer.isControllerPresent());
        } else if (call.word == "enable") {
            reader->enable();
        } else if (call.word == "send") {
            mailbox.expectResult(writer.sendByte(static_cast<unsigned char>(call.first)));
        } else if (call.word == "read") {
            mailbox.expectResult(reader->readByte(&byte));
        } else if (call.word == "close") {
            reader.reset();
        } else {
            FAIL() << "a missing access: " << call.word << " " << call.first;
        }
    }
}

TEST(Model, LinkFollowsTheTraces) {
    int traces = 0;
    for (const auto& file : std::filesystem::directory_iterator(MODEL_TRACES)) {
        SCOPED_TRACE(file.path().filename());
        TracedMailbox mailbox(ReadTrace(file.path()));
        Replay(mailbox);
        ++traces;
    }
    EXPECT_EQ(traces, 8);
}

}  // namespace
