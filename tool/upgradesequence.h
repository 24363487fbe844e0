#pragma once

#include "link/routercomms.h"

/**
 * Upgrades the controller to the image at `imagePath`: opens and checks the file, sends Begin, the
 * pages, Info and End. True only if every page was acknowledged. Logs every failure except that of
 * opening the file, and always logs "Done" at the end. If the file is not an image, nothing is
 * sent.
 */
[[nodiscard]] bool UpgradeController(const char* imagePath, RouterCommWriter& writer,
                                     RouterCommReader& reader);
