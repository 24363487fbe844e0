#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

/** A message on the wire, and the lengths of the host's messages. */
using Frame = std::vector<unsigned char>;

constexpr size_t BEGIN_LENGTH = 8;
constexpr size_t PAGE_LENGTH = 272;
constexpr size_t INFO_LENGTH = 12;
constexpr size_t END_LENGTH = 8;

Frame GoodAnswer();

/** The messages that a host sends for an image of empty pages, in order. */
std::vector<Frame> Upgrade(uint16_t pages);

}  // namespace bench
