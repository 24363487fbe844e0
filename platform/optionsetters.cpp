#include "cpputils/include/returncodes.h"
#include "cpputils/include/textconversion.h"
#include "logger/logger.h"
#include "platform/configuration.h"
#include "platform/diskaccess.h"
#include "platform/optionkeys.h"
#include "platform/options.h"

// Separate from the rest of Options: creating a directory needs the slave, and programs that only
// read the options do without it.

namespace {

/** Puts the value into the software options file, or removes the key if there is no value. */
int saveOption(const std::string& key, const Optional<std::string>& value) {
    if (checkAndCreateDir(optionsDir) != 0) {
        LOG_MESSAGE(ERROR, "UNABLE TO MAKE DIR %s", optionsDir.c_str());
        return e_Error_NotFound;
    }
    const std::string path = optionsDir + softwareOptionsFile;
    Configuration file;
    (void)file.load(path, true);  // a missing file is an empty one
    if (value.exists()) {
        file.setValue(key, value.data());
    } else {
        file.removeValue(key);
    }
    return file.save(path);
}

template <typename T>
int SaveValue(const std::string& key, const T& value) {
    return saveOption(key, Optional<std::string>(toString<T>(value)));
}

}  // namespace

int Options::setAvailableMles(size_t count) const {
    return count > i_maxMles ? e_Error_InvalidArgument : SaveValue(AVAILABLE_MLES_KEY, count);
}

int Options::setAvailableInputs(size_t count) const {
    return count > i_maxInputs ? e_Error_InvalidArgument : SaveValue(AVAILABLE_INPUTS_KEY, count);
}

int Options::setSwitcherMode(e_SwitcherMode mode) const {
    return i_availableSwitcherModes.count(mode) == 0
               ? e_Error_InvalidArgument
               : SaveValue(SWITCHER_MODE_KEY, EnumConverter::EnumToVal(mode));
}

int Options::setLogToUSB(bool on) const {
    return SaveValue(LOG_TO_USB_KEY, on);
}

int Options::setWebMediaAccess(bool on) const {
    return SaveValue(WEB_MEDIA_ACCESS_KEY, on);
}

int Options::setFtpAccess(bool on) const {
    return SaveValue(FTP_ACCESS_KEY, on);
}

int Options::setQuibnetAccess(bool on) const {
    return SaveValue(QUIBNET_ACCESS_KEY, on);
}

int Options::setAutoDiscoveryOn(bool on) const {
    return SaveValue(AUTO_DISCOVERY_ON_KEY, on);
}

int Options::setRoleBasedControlAccess(unsigned level) const {
    return SaveValue(ROLE_BASED_CONTROL_ACCESS_KEY, level);
}

int Options::setNumABU(unsigned count) const {
    return SaveValue(NUM_ABU_KEY, count);
}

int Options::setNumConfAudioChannels(unsigned count) const {
    return SaveValue(NUM_CONF_AUDIO_CHANNELS_KEY, count);
}

int Options::setAuthVRQConnections(int index, int value) const {
    return SaveValue(AUTH_VRQ_CONNECTIONS_KEY + toString<int>(index), value);
}

int Options::setVistrolName(const Optional<std::string>& name) const {
    return saveOption(VISTROL_NAME_KEY, name);
}

int Options::setRbacMasterPassword(const Optional<std::string>& password) const {
    return saveOption(RBAC_MASTER_PASSWORD_KEY, password);
}
