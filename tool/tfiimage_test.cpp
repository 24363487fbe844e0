#include "tool/tfiimage.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/testdirectory.h"

using testsupport::TestDirectory;

namespace {

const std::string SIX_LINES = "1\n2\n3\n4\n5\n6\n";

TEST(TfiImage, ChecksTheHeader) {
    const std::string fits(255, 'h');
    const struct {
        const char* name;
        std::string file;
        long payloadStart;
    } cases[] = {
        {"shortest", "\n\n\n\n\n\nEND\nxx", 10},
        {"text after END", SIX_LINES + "END of header\nxx", 26},
        {"carriage returns", "\r\n\r\n\r\n\r\n\r\n\r\nEND\r\nxx", 17},
        {"an eighth line is payload", SIX_LINES + "END\nEND\n", 16},
        {"nothing after the header", SIX_LINES + "END\n", 16},
        {"line of 255", fits + "\n2\n3\n4\n5\n6\nEND\n", 270},
        {"zero byte", std::string("a\0", 2) + "\n2\n3\n4\n5\n6\nEND\n", 17},
        {"END line of 255", SIX_LINES + "END" + std::string(252, ' ') + "\n", 268},
        {"line of 256", fits + "h\n2\n3\n4\n5\n6\nEND\n", 0},
        {"END line of 256", SIX_LINES + "END" + std::string(253, ' ') + "\n", 0},
        {"lower case", SIX_LINES + "end\nxx", 0},
        {"leading blank", SIX_LINES + " END\nxx", 0},
        {"two letters", SIX_LINES + "EN\nxx", 0},
        {"END on the sixth", "1\n2\n3\n4\n5\nEND\n7\nxx", 0},
        {"END on the eighth", SIX_LINES + "7\nEND\nxx", 0},
        {"stops in the seventh", SIX_LINES + "END", 0},
        {"six lines", SIX_LINES, 0},
        {"empty", "", 0},
    };
    const TestDirectory directory;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::ifstream image(directory.write("image", c.file), std::ios::binary);
        EXPECT_EQ(GetFileSize(image), static_cast<long>(c.file.size()));
        EXPECT_EQ(image.tellg(), 0);
        EXPECT_EQ(FindTfiPayloadStart(image), c.payloadStart);
    }
}

TEST(TfiImage, LeavesTheStreamWhereItWas) {
    const TestDirectory directory;
    std::ifstream image(directory.write("image", SIX_LINES + "END\n\xFF\x80"), std::ios::binary);
    image.seekg(5);
    EXPECT_EQ(GetFileSize(image), 18);
    EXPECT_EQ(image.tellg(), 5);
    EXPECT_EQ(FindTfiPayloadStart(image), 16);
    EXPECT_EQ(image.tellg(), 5);
    EXPECT_EQ(ReadTfiChecksum(image), 0x80FF);  // low byte first, neither one a sign
    EXPECT_EQ(image.tellg(), 5);
}

TEST(TfiImage, AStreamThatIsNotOpenHasNothing) {
    std::ifstream image("/no/such/image");
    EXPECT_EQ(GetFileSize(image), 0);
    EXPECT_EQ(FindTfiPayloadStart(image), 0);
}

}  // namespace
