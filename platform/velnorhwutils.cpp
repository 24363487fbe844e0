#include "platform/velnorhwutils.h"

#include <iterator>

#include "logger/assertion.h"

namespace {

struct HardwareProfile {
    e_SwitcherMode defaultMode;
    // The available modes are a range of the enumeration, both ends included.
    e_SwitcherMode firstMode;
    e_SwitcherMode lastMode;
    size_t defaultMEs;
    size_t maxMEs;
    size_t defaultInputs;
    size_t maxInputs;
    bool widensInputs;
};

// One row for each e_VelnorType, in its order.
constexpr HardwareProfile PROFILES[] = {
    {e_SwitcherMode_Pelwin_FCFS, e_SwitcherMode_Pelwin_FCFS, e_SwitcherMode_2_5ME_3G, 1, 2, 18, 24,
     true},
    {e_SwitcherMode_Pelwin, e_SwitcherMode_Pelwin, e_SwitcherMode_2_5ME_3G, 1, 2, 18, 24, true},
    {e_SwitcherMode_Pelwin_FCFS, e_SwitcherMode_Pelwin_FCFS, e_SwitcherMode_2_5ME_3G, 1, 2, 18, 24,
     true},
    {e_SwitcherMode_Drovan, e_SwitcherMode_Drovan, e_SwitcherMode_Drovan_FCFS, 1, 3, 16, 36, false},
    {e_SwitcherMode_Drovan, e_SwitcherMode_Drovan, e_SwitcherMode_Drovan, 1, 3, 16, 36, false},
    {e_SwitcherMode_Kestane, e_SwitcherMode_Kestane, e_SwitcherMode_Kestane, 1, 2, 4, 12, false},
    {e_SwitcherMode_Orvatin, e_SwitcherMode_Orvatin, e_SwitcherMode_Orvatin, 1, 1, 9, 9, false},
};

constexpr size_t NARROW_INPUTS = 16;
constexpr size_t WIDENED_INPUTS = 18;

bool IsPlatform(e_VelnorType hardwarePlatform) {
    return hardwarePlatform >= 0 && static_cast<size_t>(hardwarePlatform) < std::size(PROFILES);
}

const HardwareProfile& ProfileOf(e_VelnorType hardwarePlatform) {
    if (!IsPlatform(hardwarePlatform)) {
        ASSERT_MESSAGE("Invalid hardwarePlatform specified");
    }
    return PROFILES[hardwarePlatform];
}

std::set<e_SwitcherMode> ModesBetween(e_SwitcherMode first, e_SwitcherMode last) {
    std::set<e_SwitcherMode> modes;
    for (const auto& entry : EnumTableT<e_SwitcherMode>::entries) {
        if (entry.value >= first && entry.value <= last) {
            modes.insert(entry.value);
        }
    }
    return modes;
}

}  // namespace

e_SwitcherMode GetDefaultSwitcherMode(e_VelnorType hardwarePlatform) {
    return ProfileOf(hardwarePlatform).defaultMode;
}

size_t GetDefaultNumMEs(e_VelnorType hardwarePlatform) {
    return ProfileOf(hardwarePlatform).defaultMEs;
}

size_t GetMaxNumMEs(e_VelnorType hardwarePlatform) {
    return ProfileOf(hardwarePlatform).maxMEs;
}

size_t GetDefaultNumInputs(e_VelnorType hardwarePlatform) {
    return ProfileOf(hardwarePlatform).defaultInputs;
}

size_t GetMaxNumInputs(e_VelnorType hardwarePlatform) {
    return ProfileOf(hardwarePlatform).maxInputs;
}

size_t AdjustNumInputs(e_VelnorType hardwarePlatform, size_t numInputs) {
    return ProfileOf(hardwarePlatform).widensInputs && numInputs == NARROW_INPUTS ? WIDENED_INPUTS
                                                                                  : numInputs;
}

std::set<e_SwitcherMode> GetAvailableSwitcherModes(e_VelnorType hardwarePlatform) {
    if (!IsPlatform(hardwarePlatform)) {
        return {};
    }
    const HardwareProfile& profile = ProfileOf(hardwarePlatform);
    return ModesBetween(profile.firstMode, profile.lastMode);
}

std::set<e_SwitcherMode> GetAllSwitcherModes() {
    return ModesBetween(e_SwitcherMode_Pelwin_FCFS, e_SwitcherMode_Kestane);
}
