#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace testsupport {

/** The shortest valid header: six empty lines and the last one. */
extern const std::string SHORTEST_HEADER;

/** Bytes that differ from page to page and take every value. */
std::string Payload(size_t size);

/** The number of pages that the payload fills, the last one perhaps in part. */
size_t PagesOf(const std::string& payload);

/** The checksum at the end of an image, as four hexadecimal digits. */
std::string ChecksumText(const std::string& file);

/** Page `number` as the controller must receive it: 256 bytes. */
std::string ExpectedPage(const std::string& payload, size_t number);

/** All pages, as the controller must hold them after the upgrade. */
std::string ExpectedFlash(const std::string& payload);

/** All bytes that a faultless run sends: begin, pages, information, end. */
std::string ExpectedWire(const std::string& payload);

/** Single messages of the host. */
std::string BeginFrame();
std::string PageFrame(uint16_t number, const std::string& page);

}  // namespace testsupport
