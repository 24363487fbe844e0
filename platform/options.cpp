#include "platform/options.h"

#include <algorithm>

#include "cpputils/include/textconversion.h"
#include "logger/logger.h"
#include "platform/configuration.h"
#include "platform/diskaccess.h"
#include "platform/optionkeys.h"

namespace {

constexpr uint32_t MaxNumABU = 3;
constexpr uint32_t MaxNumConfAudioChannels = 48;
constexpr size_t MaxMlesWithoutHalfMe = 1;

/** Absent for a missing key; an empty value is present. */
Optional<std::string> TextOf(const Configuration& file, const std::string& key) {
    return file.hasKey(key) ? Optional<std::string>(file.getValue(defaultSection, key, ""))
                            : Optional<std::string>();
}

/** Stays as it is for a missing key. */
template <typename T>
void ReadValue(const Configuration& file, const std::string& key, T& field) {
    const Optional<std::string> text = TextOf(file, key);
    if (text.exists()) {
        field = fromString<T>(text.data());
    }
}

/** As ReadValue, but at most `limit`, which holds for what the file says only. */
template <typename T>
void ReadCount(const Configuration& file, const std::string& key, T limit, T& field) {
    const Optional<std::string> text = TextOf(file, key);
    if (text.exists()) {
        field = std::min<T>(fromString<unsigned>(text.data()), limit);
    }
}

void ReadText(const Configuration& file, const std::string& key, Optional<std::string>& field) {
    const Optional<std::string> text = TextOf(file, key);
    if (text.exists()) {
        field = text;
    }
}

}  // namespace

Options::Options() : Options(e_VelnorType_Profile0) {
    i_availableSwitcherModes = GetAllSwitcherModes();
}

Options::Options(e_VelnorType hardwarePlatform)
    : i_availableMles(GetDefaultNumMEs(hardwarePlatform)),
      i_availableInputs(GetDefaultNumInputs(hardwarePlatform)),
      i_switcherMode(GetDefaultSwitcherMode(hardwarePlatform)),
      i_maxMles(GetMaxNumMEs(hardwarePlatform)),
      i_maxInputs(GetMaxNumInputs(hardwarePlatform)),
      i_availableSwitcherModes(GetAvailableSwitcherModes(hardwarePlatform)) {}

void Options::load() {
    Configuration file;
    if (file.load(optionsDir + softwareOptionsFile, true) != 0) {
        LOG_MESSAGE(CRITICAL,
                    "Software options file not present; using %d mle(s), %d input(s) and "
                    "switcherMode %s.",
                    static_cast<int>(i_availableMles), static_cast<int>(i_availableInputs),
                    EnumConverter::EnumToString(i_switcherMode));
        return;
    }
    readCounts(file);
    readSwitcherMode(file);
    readRest(file);
}

void Options::adjustNumInputs(e_VelnorType hardwarePlatform) {
    i_availableInputs = AdjustNumInputs(hardwarePlatform, i_availableInputs);
}

void Options::readCounts(const Configuration& file) {
    ReadCount(file, availableMlesKey, i_maxMles, i_availableMles);
    ReadCount(file, availableInputsKey, i_maxInputs, i_availableInputs);
    if (i_availableMles <= MaxMlesWithoutHalfMe) {
        for (const e_SwitcherMode mode :
             {e_SwitcherMode_2_5ME, e_SwitcherMode_2_5ME_25_2997, e_SwitcherMode_2_5ME_3G}) {
            i_availableSwitcherModes.erase(mode);
        }
    }
}

void Options::readSwitcherMode(const Configuration& file) {
    const Optional<std::string> text = TextOf(file, switcherModeKey);
    e_SwitcherMode mode = i_switcherMode;
    if (text.exists() && EnumConverter::ValToEnum(&mode, fromString<unsigned>(text.data())) &&
        i_availableSwitcherModes.count(mode) != 0) {
        i_switcherMode = mode;
    }
}

void Options::readRest(const Configuration& file) {
    ReadValue(file, logToUSBKey, i_logToUSB);
    ReadText(file, vistrolNameKey, i_vistrolName);
    ReadValue(file, autoDiscoveryOnKey, i_autoDiscoveryOn);
    ReadValue(file, useDefaultHTTPPortKey, i_useDefaultHTTPPort);
    ReadCount(file, numABUKey, MaxNumABU, i_numABU);
    ReadCount(file, numConfAudioChannelsKey, MaxNumConfAudioChannels, i_numConfAudioChannels);
    ReadValue(file, webMediaAccessKey, i_webMediaAccess);
    ReadValue(file, ftpAccessKey, i_ftpAccess);
    ReadValue(file, roleBasedControlAccessKey, i_roleBasedControlAccess);
    for (size_t i = 0; i < i_authVRQConnections.size(); ++i) {
        ReadValue(file, authVRQConnectionsKey + std::to_string(i), i_authVRQConnections[i]);
    }
    ReadText(file, rbacMasterPasswordKey, i_rbacMasterPassword);
    ReadValue(file, quibnetAccessKey, i_quibnetAccess);
}
