#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

#include "cpputils/include/optional.h"
#include "platform/velnorhwutils.h"

class Configuration;

/**
 * What a frame is set up to do: how many MEs (mles) and inputs it offers, which switcher mode it
 * runs, and some access switches. It starts from the hardware profile; the software options file
 * then narrows or overrides it. A value object: construct it, load it once, read it.
 *
 * The file's values are trusted within the limits that `load` applies. A value that is empty or not
 * a number reads as 0 or false.
 */
class Options {
  public:
    /** The profile of platform 0, but with every switcher mode available. */
    Options();
    explicit Options(e_VelnorType hardwarePlatform);

    /**
     * Applies the software options file. Counts of MEs and inputs are cut to the platform's
     * maximum, `numABU` to 3 and `numConfAudioChannels` to 48. With at most one ME the 2.5 ME modes
     * are no longer available. A switcher mode that isn't available is ignored silently. Without a
     * file, logs the settings in use and changes nothing.
     */
    void load();

    /** Changes 16 inputs to 18 if the platform has 18. */
    void adjustNumInputs(e_VelnorType hardwarePlatform);

    size_t getAvailableMles() const { return i_availableMles; }
    size_t getAvailableInputs() const { return i_availableInputs; }
    e_SwitcherMode getSwitcherMode() const { return i_switcherMode; }
    size_t getMaxMles() const { return i_maxMles; }
    size_t getMaxInputs() const { return i_maxInputs; }
    const std::set<e_SwitcherMode>& getAvailableSwitcherModes() const {
        return i_availableSwitcherModes;
    }
    bool getLogToUSB() const { return i_logToUSB; }
    const Optional<std::string>& getVistrolName() const { return i_vistrolName; }
    bool getAutoDiscoveryOn() const { return i_autoDiscoveryOn; }
    bool getUseDefaultHTTPPort() const { return i_useDefaultHTTPPort; }
    uint32_t getNumABU() const { return i_numABU; }
    uint32_t getNumConfAudioChannels() const { return i_numConfAudioChannels; }
    bool getWebMediaAccess() const { return i_webMediaAccess; }
    bool getFtpAccess() const { return i_ftpAccess; }
    uint32_t getRoleBasedControlAccess() const { return i_roleBasedControlAccess; }
    const std::array<int32_t, 3>& getAuthVRQConnections() const { return i_authVRQConnections; }
    const Optional<std::string>& getRbacMasterPassword() const { return i_rbacMasterPassword; }
    bool getQuibnetAccess() const { return i_quibnetAccess; }

    /**
     * The setters rewrite the software options file and leave this object as it is: a value takes
     * effect at the next load. One writer at a time. To use them, link `optionsetters`. They return
     * - 0,
     * - e_Error_InvalidArgument, with nothing written, for a count above the platform's maximum or
     *   a mode that isn't available,
     * - e_Error_NotFound if the file's directory can't be created, or
     * - the result of Configuration::save.
     */
    [[nodiscard]] int setAvailableMles(size_t count) const;
    [[nodiscard]] int setAvailableInputs(size_t count) const;
    [[nodiscard]] int setSwitcherMode(e_SwitcherMode mode) const;
    [[nodiscard]] int setLogToUSB(bool on) const;
    [[nodiscard]] int setWebMediaAccess(bool on) const;
    [[nodiscard]] int setFtpAccess(bool on) const;
    [[nodiscard]] int setQuibnetAccess(bool on) const;
    [[nodiscard]] int setAutoDiscoveryOn(bool on) const;
    [[nodiscard]] int setRoleBasedControlAccess(unsigned level) const;
    [[nodiscard]] int setNumABU(unsigned count) const;
    [[nodiscard]] int setNumConfAudioChannels(unsigned count) const;
    [[nodiscard]] int setAuthVRQConnections(int index, int value) const;
    /** An absent value removes the key from the file. */
    [[nodiscard]] int setVistrolName(const Optional<std::string>& name) const;
    [[nodiscard]] int setRbacMasterPassword(const Optional<std::string>& password) const;

  private:
    void readCounts(const Configuration& file);
    void readSwitcherMode(const Configuration& file);
    void readRest(const Configuration& file);

    size_t i_availableMles;
    size_t i_availableInputs;
    e_SwitcherMode i_switcherMode;
    size_t i_maxMles;
    size_t i_maxInputs;
    std::set<e_SwitcherMode> i_availableSwitcherModes;
    bool i_logToUSB = false;
    Optional<std::string> i_vistrolName;
    bool i_autoDiscoveryOn = true;
    bool i_useDefaultHTTPPort = false;
    uint32_t i_numABU = 1;
    uint32_t i_numConfAudioChannels = 48;
    bool i_webMediaAccess = true;
    bool i_ftpAccess = true;
    uint32_t i_roleBasedControlAccess = 1;
    std::array<int32_t, 3> i_authVRQConnections = {0, 0, 0};
    Optional<std::string> i_rbacMasterPassword;
    bool i_quibnetAccess = true;
};
