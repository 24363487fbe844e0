#pragma once

#include <list>
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

/**
 * The operations below log their failures and return 0 for success. They hold no state, and nothing
 * guards against two callers at work on one directory. Shell commands run through SystemCaller, so
 * a time-critical thread may not call, and a path must not hold a double quote.
 */

/** Whether stat finds the path. */
bool pathExists(const std::string& path);
/** 0, or e_Error_NotFound without a stick: silent. */
[[nodiscard]] int checkUsbMounted();

/**
 * Sees to it that the directory is there, with those above it. On the USB stick, but not through
 * its mount point: e_Error_NotFound without a stick, -1 when mkdir fails or there is nothing below
 * the mount point to make. Elsewhere by the shell: its code.
 */
[[nodiscard]] int checkAndCreateDir(const std::string& directory);

/**
 * Makes `to` hold what `from` holds, and no more, by rsync; with a pattern, those files of `from`
 * that match. A source that isn't there is no failure. Returns the code of the directory or of the
 * shell command.
 */
[[nodiscard]] int copyFiles(const std::string& from, const std::string& to,
                            const std::string& filepattern);
/** copyFiles, and its failure is logged with the names. The two differ in theirs alone. */
[[nodiscard]] int copyFilesToFlash(const std::string& from, const std::string& to,
                                   const std::string& filepattern);
[[nodiscard]] int copyFilesToOrFromNonUSB(const std::string& from, const std::string& to,
                                          const std::string& filepattern);
/** As these; e_Error_NotFound without a stick. */
[[nodiscard]] int copyFilesToOrFromUSB(const std::string& from, const std::string& to,
                                       const std::string& filepattern);

/** Packs the log files below /tmp into an archive on the USB stick, in place of the one there. */
[[nodiscard]] int copyLogs();
/** e_Error_NotFound without a stick. */
[[nodiscard]] int copyLogsToUSB();

/**
 * The names of the schemes in byte order: of the default directory, which is made, of the system's,
 * but its own custom ones, and always Custom1 to Custom4. A name that is in both stands twice.
 * Empty if the default directory can't be made.
 */
std::list<std::string> readSchemeDir();
