#include "thread/fdbufferthread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <thread>

#include "cpputils/include/pipeio.h"
#include "tests/support/child.h"
#include "tests/support/descriptors.h"
#include "tests/support/systemcalls.h"
#include "thread/sem.h"

using testing::HasSubstr;
using testsupport::CountDescriptors;
using testsupport::LimitDescriptors;
using testsupport::RunInChild;

namespace {

constexpr int BEYOND_SELECT = 1500;

TEST(FDBufferThread, KeepsEveryByteOfADescriptorOfAnyNumber) {
    LimitDescriptors(BEYOND_SELECT + 1);
    PipeEnds stream;
    ASSERT_EQ(stream.create(), 0);
    ASSERT_EQ(dup2(stream.readEnd(), BEYOND_SELECT), BEYOND_SELECT);
    std::string bytes;
    for (int byte = 0; byte <= 0xFF; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    {
        FDBufferThread buffer(BEYOND_SELECT);
        EXPECT_EQ(buffer.start(), 0);
        const auto descriptors = CountDescriptors();
        EXPECT_EQ(buffer.start(), -1);
        EXPECT_EQ(CountDescriptors(), descriptors);
        ASSERT_EQ(write(stream.writeEnd(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
        while (buffer.getText().size() < bytes.size()) {
            std::this_thread::yield();
        }
        stream.closeWrite();
        EXPECT_EQ(buffer.join(nullptr), 0);
        EXPECT_EQ(buffer.getText(), bytes);
        EXPECT_EQ(buffer.getBytes(), std::list<char>(bytes.begin(), bytes.end()));
    }
    EXPECT_EQ(close(BEYOND_SELECT), 0);  // it was borrowed
}

TEST(FDBufferThread, StopsWithAndWithoutAnEndOfTheStream) {
    const auto descriptors = CountDescriptors();
    for (const bool ended : {false, true}) {
        PipeEnds stream;
        ASSERT_EQ(stream.create(), 0);
        FDBufferThread buffer(stream.readEnd());
        EXPECT_EQ(buffer.stop(), -1);
        EXPECT_EQ(buffer.start(), 0);
        if (ended) {
            stream.closeWrite();
        }
        EXPECT_EQ(buffer.stop(), 0);
        EXPECT_EQ(buffer.stop(), -1);
        EXPECT_FALSE(buffer.isCreated());
        EXPECT_EQ(buffer.start(), 0);  // until the destructor
    }
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST(FDBufferThread, LogsFailures) {
    const struct {
        const char* line;
        std::function<void(FDBufferThread&)> body;
    } cases[] = {
        {"Unknown Command FFFFFF80",
         [](FDBufferThread& buffer) {
             const int nextDescriptor = dup(STDOUT_FILENO);
             close(nextDescriptor);
             EXPECT_EQ(buffer.start(), 0);  // its pipe takes the next two
             EXPECT_EQ(WriteByte(nextDescriptor + 1, 0x80), 0);
             (void)buffer.join(nullptr);
         }},
        {"Pipe to FDBufferThread closed (Success)",
         [](FDBufferThread& buffer) {
             const int nextDescriptor = dup(STDOUT_FILENO);
             close(nextDescriptor);
             EXPECT_EQ(buffer.start(), 0);
             close(nextDescriptor + 1);
             (void)buffer.join(nullptr);
         }},
        {"Could not stop FDBufferThread (rc: 61201)",
         [](FDBufferThread& buffer) {
             static SemT<EveryThreadCanBlockPolicy> polling(0);
             testsupport::HookPolls([] {
                 polling.post();
                 pause();  // or the thread would use the object after its end
             });
             EXPECT_EQ(buffer.start(), 0);
             polling.wait();
             testsupport::HookWrites(testsupport::FailingWrite);
         }},
        {"Could not create the to pipe for FDBufferThread",
         [](FDBufferThread& buffer) {
             LimitDescriptors(0);
             EXPECT_EQ(buffer.start(), -1);
         }},
        {"select failed (Bad file descriptor)",
         [](FDBufferThread&) {
             FDBufferThread onClosed(BEYOND_SELECT);
             EXPECT_EQ(onClosed.start(), 0);
             (void)onClosed.join(nullptr);
         }},
    };
    for (const auto& c : cases) {
        const std::string out = RunInChild([&] {
                                    PipeEnds stream;
                                    EXPECT_EQ(stream.create(), 0);
                                    FDBufferThread buffer(stream.readEnd());
                                    c.body(buffer);
                                }).out;
        EXPECT_THAT(out, HasSubstr(std::string("\"") + c.line + "\" at thread/fdbufferthread"));
        EXPECT_THAT(out, HasSubstr("S: WARNING T: "));
    }
}

}  // namespace
