#pragma once

#include <cstdint>
#include <fstream>
#include <vector>

#include "link/routercomms.h"

/**
 * Sends the payload of an image, on whose first byte the stream stands, page by page and strictly
 * in order. `payloadSize` in bytes, the two of the checksum included; `pages` as the payload makes
 * them. The last page holds what remains without the checksum, filled up with zeroes.
 *
 * True only if the last page was delivered. The first page that can't be delivered ends the
 * transfer, and so does a failing read; pages that have gone out stay gone.
 */
[[nodiscard]] bool SendUpgradeContentsToController(std::ifstream& image, long int payloadSize,
                                                   uint16_t pages, RouterCommWriter& writer,
                                                   RouterCommReader& reader);

/** Sends one page, up to five times, until the controller calls it good; false if it never does. */
[[nodiscard]] bool SendFlashPageToTolmira(const std::vector<char>& page, uint16_t pageNumber,
                                          RouterCommWriter& writer, RouterCommReader& reader);
