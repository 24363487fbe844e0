#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace testsupport {

/** The shortest header that is one: six empty lines and the seventh. */
extern const std::string SHORTEST_HEADER;

/** Payload bytes that differ from page to page and hold every value. */
std::string Payload(size_t size);

/** The checksum at the end of an image, in the four digits of the log. */
std::string ChecksumText(const std::string& file);

/** Page `number` as it has to arrive at the controller: 256 bytes. */
std::string ExpectedPage(const std::string& payload, size_t number);

/** What a faultless run sends for the payload, every byte: begin, pages, information, end. */
std::string ExpectedWire(const std::string& payload);

/** Single messages of the host, as they stand on the wire. */
std::string BeginFrame();
std::string PageFrame(uint16_t number, const std::string& page);

}  // namespace testsupport
