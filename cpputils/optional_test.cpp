#include "cpputils/include/optional.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/support/child.h"

using OptionalString = Optional<std::string>;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Packed(const Packable& value) {
    Bytes bytes(16);
    SmartBufferWriter writer;
    writer.initBuffer(bytes.data(), 16);
    writer << value;
    bytes.resize(writer.getOffset());
    return bytes;
}

OptionalString Unpacked(const Bytes& bytes, OptionalString value) {
    SmartBufferReader reader;
    reader.initBuffer(bytes.data(), static_cast<unsigned int>(bytes.size()));
    reader >> value;
    EXPECT_EQ(reader.hasFailed(), bytes.empty());
    return value;
}

TEST(Optional, IsAbsentOrHoldsItsValue) {
    OptionalString optional;
    EXPECT_FALSE(optional.exists());
    optional = std::string();
    EXPECT_TRUE(optional.exists());
    EXPECT_EQ(optional.data(), "");
    optional = OptionalString("text");
    const OptionalString copy(optional);
    optional = OptionalString();
    EXPECT_FALSE(optional.exists());
    EXPECT_EQ(copy.data(), "text");
}

TEST(Optional, AssertsThatItsValueExists) {
    const auto result = testsupport::RunInChild([] { (void)OptionalString().data(); });
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_THAT(result.out, testing::HasSubstr("\"Assertion \"i_exists\" failed.\" at "
                                               "cpputils/include/optional.h:"));
}

TEST(Optional, IsPackedAsABoolAndItsValue) {
    const Bytes absent = {0x00};
    const Bytes present = {0x80, 0, 0, 0, 2, 'h', 'i'};
    EXPECT_EQ(Packed(OptionalString()), absent);
    EXPECT_EQ(Packed(OptionalString("hi")), present);
    EXPECT_EQ(Unpacked(present, OptionalString()).data(), "hi");
    EXPECT_FALSE(Unpacked(absent, OptionalString("old")).exists());
    EXPECT_EQ(Unpacked({}, OptionalString("old")).data(), "old");
}

}  // namespace
