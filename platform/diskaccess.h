#pragma once

#include <string>

/**
 * The frame's storage layout: X(constant, text). Relative paths are relative to the working
 * directory, which the three storage roots stand beside. What starts with a slash is a piece to
 * append to a directory.
 *
 * The constants are built before main, in this order, by one source unit, so a row may use the rows
 * above it; another unit must not use them before main.
 */
#define STORAGE_PATHS(X)                                   \
    X(nandDataDir, "../NANDdata")                          \
    X(usbDataDir, "../USBdata")                            \
    X(tmpDataDir, "../TMPdata")                            \
    X(userSubdir, "/user")                                 \
    X(schemesSubdir, "/schemes")                           \
    X(viewControlSubdir, "/viewcontrol")                   \
    X(simappDataSubdir, "/simapp/data")                    \
    X(systemSchemeDir, "src/panel" + schemesSubdir)        \
    X(usbMountSubdir, "/usb0")                             \
    X(mediaSubdir, "/media")                               \
    X(switcherSubdir, "/switcher")                         \
    X(usbMountDir, usbDataDir + usbMountSubdir)            \
    X(usbSwitcherDir, usbMountDir + switcherSubdir)        \
    X(tmpSwitcherDir, "/tmp/switcher")                     \
    X(noUsbMarker, "noUsb")                                \
    X(workingSetSubdir, "/workingset")                     \
    X(workingSetDir, nandDataDir + workingSetSubdir)       \
    X(ipConfigDir, nandDataDir + "/systemdata/ipconfig")   \
    X(ipInfoFile, "ipinfo")                                \
    X(edlDir, nandDataDir + "/EDLfiles")                   \
    X(liveEdlPrefix, "LiveEDL_")                           \
    X(edlSuffix, ".edl")                                   \
    X(liveEdlCommentsFile, "/LiveEDL_Comments.txt")        \
    X(capturesSubdir, "/captures")                         \
    X(captureSuffix, "_capture")                           \
    X(pngSuffix, ".png")                                   \
    X(setsSubdir, "/sets")                                 \
    X(showTimelinesSubdir, "/show/timelines")              \
    X(showCustomControlsSubdir, "/show/customcontrols")    \
    X(installationSubdir, "/installation")                 \
    X(personalitySubdir, "/personality")                   \
    X(memsSubdir, "/mems")                                 \
    X(customControlsSubdir, "/customcontrols")             \
    X(timelinesSubdir, "/timelines")                       \
    X(sequencesSubdir, "/sequences")                       \
    X(routerSubdir, "/router")                             \
    X(mnemonicUploadDir, "/tmp/mnemonic_upload")           \
    X(upgradeUploadDir, "/tmp/upgrade_upload")             \
    X(setUploadDir, "/tmp/set_upload")                     \
    X(crossoverScheme, "crossover")                        \
    X(panelPersonalityFile, "/panel_personality.settings") \
    X(framePersonalityFile, "/frame_personality.settings") \
    X(installationFile, "/installation.settings")          \
    X(routerFile, "/router.settings")                      \
    X(optionsDir, nandDataDir + simappDataSubdir)          \
    X(softwareOptionsFile, "/software.options")            \
    X(customSchemePattern, "Custom*")

#define DECLARE_STORAGE_PATH(name, text) extern const std::string name;
STORAGE_PATHS(DECLARE_STORAGE_PATH)
#undef DECLARE_STORAGE_PATH

/** Where a set of files lies: X(enumerator, value, word). */
#define STORAGE_LOCATIONS(X)                     \
    X(e_StorageLocation_Internal, 0, "internal") \
    X(e_StorageLocation_Usb, 1, "usb")           \
    X(e_StorageLocation_Temporary, 2, "temporary")

enum e_StorageLocation : int {
#define STORAGE_LOCATION_ENUMERATOR(name, value, word) name = (value),
    STORAGE_LOCATIONS(STORAGE_LOCATION_ENUMERATOR)
#undef STORAGE_LOCATION_ENUMERATOR
};

/** An unknown word, in capitals for one, is the internal location. */
e_StorageLocation storageLocationFromString(const std::string& word);
/** A value outside the enumeration is "internal". */
std::string storageLocationToString(e_StorageLocation location);
