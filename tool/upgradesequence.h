#pragma once

#include "link/routercomms.h"

/**
 * Upgrades the controller to the image at `imagePath`: opens and judges the file, says Begin, sends
 * the pages, says Info and End. True only if every page was acknowledged; every failure is logged,
 * and every run ends with the line "Done". A file that is no image sends nothing at all.
 */
[[nodiscard]] bool UpgradeController(const char* imagePath, RouterCommWriter& writer,
                                     RouterCommReader& reader);
