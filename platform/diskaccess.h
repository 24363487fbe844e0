#pragma once

#include <list>
#include <string>

/**
 * The frame's storage layout: X(constant, text). Relative paths start at the working directory; the
 * three storage roots are next to it. A text that begins with a slash is appended to a directory,
 * except for the directories in /tmp, which are absolute paths.
 *
 * The constants are built before main, in this order, by one source unit. A row may use the rows
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

/** The location of a set of files: X(enumerator, value, word). */
#define STORAGE_LOCATIONS(X)                     \
    X(e_StorageLocation_Internal, 0, "internal") \
    X(e_StorageLocation_Usb, 1, "usb")           \
    X(e_StorageLocation_Temporary, 2, "temporary")

enum e_StorageLocation : int {
#define STORAGE_LOCATION_ENUMERATOR(name, value, word) name = (value),
    STORAGE_LOCATIONS(STORAGE_LOCATION_ENUMERATOR)
#undef STORAGE_LOCATION_ENUMERATOR
};

/** Returns the internal location for an unknown word. Case-sensitive. */
e_StorageLocation storageLocationFromString(const std::string& word);
/** Returns "internal" for a value outside the enumeration. */
std::string storageLocationToString(e_StorageLocation location);

/**
 * The operations below log their failures and return 0 for success. They have no state, and nothing
 * keeps two callers from working on one directory. They run shell commands through SystemCaller: a
 * time-critical thread must not call them, and a path must not contain a double quote.
 */

/** Whether stat finds the path. */
bool pathExists(const std::string& path);
/** 0, or e_Error_NotFound without a USB stick. Logs nothing. */
[[nodiscard]] int checkUsbMounted();

/**
 * Creates the directory and its parents if they are missing:
 * - On the USB stick, but never its mount point. Returns e_Error_NotFound without a stick, and -1
 *   if mkdir fails or the path has nothing below the mount point.
 * - Elsewhere with a shell command, whose code it returns.
 */
[[nodiscard]] int checkAndCreateDir(const std::string& directory);

/**
 * Mirrors `from` in `to` with rsync, and deletes everything else there; with a pattern, only files
 * that match it are copied and deleted. A missing source is not a failure. Returns the code of
 * creating the directory, or that of the shell command.
 */
[[nodiscard]] int copyFiles(const std::string& from, const std::string& to,
                            const std::string& filepattern);
/** As copyFiles; a failure is also logged with the names. The two functions are the same. */
[[nodiscard]] int copyFilesToFlash(const std::string& from, const std::string& to,
                                   const std::string& filepattern);
[[nodiscard]] int copyFilesToOrFromNonUSB(const std::string& from, const std::string& to,
                                          const std::string& filepattern);
/** As above. e_Error_NotFound without a USB stick. */
[[nodiscard]] int copyFilesToOrFromUSB(const std::string& from, const std::string& to,
                                       const std::string& filepattern);

/** Packs the log files in /tmp into an archive on the USB stick, which replaces an earlier one. */
[[nodiscard]] int copyLogs();
/** As above. e_Error_NotFound without a USB stick. */
[[nodiscard]] int copyLogsToUSB();

/**
 * The names of the schemes, in byte order:
 * - those in the default directory, which is created if it is missing,
 * - those in the system's directory, except custom ones,
 * - always Custom1 to Custom4.
 *
 * A name in both directories appears twice. Empty if the default directory can't be created.
 */
std::list<std::string> readSchemeDir();
