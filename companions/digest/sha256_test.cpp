#include "companions/digest/sha256.h"

#include <gtest/gtest.h>

namespace {

// The examples of FIPS 180-4, and the empty message.
TEST(Sha256, HasTheStandardsExamples) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& [message, hex] : cases) {
        digest::Sha256 whole;
        whole.add(message.data(), message.size());
        EXPECT_EQ(whole.hex(), hex);
        digest::Sha256 pieces;
        for (std::size_t from = 0; from < message.size(); from += 999) {
            const std::string piece = message.substr(from, 999);
            pieces.add(piece.data(), piece.size());
        }
        EXPECT_EQ(pieces.hex(), hex);
    }
}

}  // namespace
