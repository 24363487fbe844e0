#pragma once

#include "link/routercomms.h"

/**
 * Upgrades the controller to the image at `imagePath`: opens and checks the file, sends Begin, the
 * pages, Info and End. True only if every page was acknowledged. Every failure is logged, and every
 * run ends with the line "Done". A file that is not an image sends nothing at all.
 */
[[nodiscard]] bool UpgradeController(const char* imagePath, RouterCommWriter& writer,
                                     RouterCommReader& reader);
