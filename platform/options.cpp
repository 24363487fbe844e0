#include "platform/options.h"

#include <algorithm>

#include "cpputils/include/textconversion.h"
#include "logger/logger.h"
#include "platform/configuration.h"
#include "platform/diskaccess.h"
#include "platform/optionkeys.h"

namespace {

constexpr uint32_t MAX_NUM_ABU = 3;
constexpr uint32_t MAX_NUM_CONF_AUDIO_CHANNELS = 48;
constexpr size_t MAX_MLES_WITHOUT_HALF_ME = 1;

/** Absent for a missing key; an empty value is present. */
Optional<std::string> TextOf(const Configuration& file, const std::string& key) {
    return file.hasKey(key) ? Optional<std::string>(file.getValue(defaultSection, key, ""))
                            : Optional<std::string>();
}

/** Leaves the value as it is if the key is missing. */
template <typename T>
void ReadValue(const Configuration& file, const std::string& key, T& field) {
    const Optional<std::string> text = TextOf(file, key);
    if (text.exists()) {
        field = fromString<T>(text.data());
    }
}

/** As ReadValue, but cuts a value from the file to `limit`. The initial value is not cut. */
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
    ReadCount(file, AVAILABLE_MLES_KEY, i_maxMles, i_availableMles);
    ReadCount(file, AVAILABLE_INPUTS_KEY, i_maxInputs, i_availableInputs);
    if (i_availableMles <= MAX_MLES_WITHOUT_HALF_ME) {
        for (const e_SwitcherMode mode :
             {e_SwitcherMode_2_5ME, e_SwitcherMode_2_5ME_25_2997, e_SwitcherMode_2_5ME_3G}) {
            i_availableSwitcherModes.erase(mode);
        }
    }
}

void Options::readSwitcherMode(const Configuration& file) {
    const Optional<std::string> text = TextOf(file, SWITCHER_MODE_KEY);
    e_SwitcherMode mode = i_switcherMode;
    if (text.exists() &&
        EnumConverter::ValToEnum(&mode, static_cast<unsigned>(fromString<int>(text.data()))) &&
        i_availableSwitcherModes.count(mode) != 0) {
        i_switcherMode = mode;
    }
}

void Options::readRest(const Configuration& file) {
    ReadValue(file, LOG_TO_USB_KEY, i_logToUSB);
    ReadText(file, VISTROL_NAME_KEY, i_vistrolName);
    ReadValue(file, AUTO_DISCOVERY_ON_KEY, i_autoDiscoveryOn);
    ReadValue(file, USE_DEFAULT_HTTP_PORT_KEY, i_useDefaultHTTPPort);
    ReadCount(file, NUM_ABU_KEY, MAX_NUM_ABU, i_numABU);
    ReadCount(file, NUM_CONF_AUDIO_CHANNELS_KEY, MAX_NUM_CONF_AUDIO_CHANNELS,
              i_numConfAudioChannels);
    ReadValue(file, WEB_MEDIA_ACCESS_KEY, i_webMediaAccess);
    ReadValue(file, FTP_ACCESS_KEY, i_ftpAccess);
    ReadValue(file, ROLE_BASED_CONTROL_ACCESS_KEY, i_roleBasedControlAccess);
    for (size_t i = 0; i < i_authVRQConnections.size(); ++i) {
        ReadValue(file, AUTH_VRQ_CONNECTIONS_KEY + std::to_string(i), i_authVRQConnections[i]);
    }
    ReadText(file, RBAC_MASTER_PASSWORD_KEY, i_rbacMasterPassword);
    ReadValue(file, QUIBNET_ACCESS_KEY, i_quibnetAccess);
}
