#pragma once

#include <cstdint>
#include <fstream>

/**
 * Firmware images in TFI format: seven header lines, of which the seventh begins with "END", then
 * the payload, whose last two bytes are the image's checksum. The tool checks nothing else of the
 * header, and it never checks the payload against the checksum.
 *
 * The functions leave the stream's read position where they found it, unless the stream fails.
 */
constexpr int TFI_HEADER_LINES = 7;
/** Bytes in a flash page. */
constexpr int TFI_PAGE_SIZE = 256;
/** Bytes of the checksum at the end of the payload. */
constexpr int TFI_CHECKSUM_SIZE = 2;
/** The largest page count that the protocol can express. */
constexpr long TFI_MAX_PAGES = 65535;

/** The whole file's size in bytes; 0 if the stream isn't open. */
long GetFileSize(std::ifstream& image);

/**
 * The offset of the first byte after the header. 0 if the stream isn't open or the header isn't
 * valid; the stream may then stay failed. A header line has at most 255 characters.
 */
long FindTfiPayloadStart(std::ifstream& image);

/** The file's last two bytes as a number, low byte first. */
uint16_t ReadTfiChecksum(std::ifstream& image);
