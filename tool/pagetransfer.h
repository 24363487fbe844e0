#pragma once

#include <cstdint>
#include <fstream>
#include <vector>

#include "link/routercomms.h"

/**
 * Sends the payload of an image page by page, strictly in order. The stream must be at the first
 * byte of the payload. `payloadSize` is in bytes and includes the two of the checksum; `pages` is
 * that size in pages, rounded up. The last page holds the rest without the checksum, padded
 * with zeroes.
 *
 * True only if the last page was delivered. The first page that can't be delivered ends the
 * transfer, and so does a failing read. Pages already sent are not withdrawn.
 */
[[nodiscard]] bool SendUpgradeContentsToController(std::ifstream& image, long int payloadSize,
                                                   uint16_t pages, RouterCommWriter& writer,
                                                   RouterCommReader& reader);

/** Sends one page, up to five times, until the controller accepts it; false if it never does. */
[[nodiscard]] bool SendFlashPageToTolmira(const std::vector<char>& page, uint16_t pageNumber,
                                          RouterCommWriter& writer, RouterCommReader& reader);
