#pragma once

#include <cstddef>
#include <set>

#include "cpputils/include/generateenumlookup.h"

/**
 * The hardware platforms of the card family, and what each can run: switcher modes, MEs (also
 * called mles) and inputs. Pure look-ups in one table: any thread may call them.
 */
enum e_VelnorType : int {
    e_VelnorType_Profile0 = 0,
    e_VelnorType_Profile1 = 1,
    e_VelnorType_Profile2 = 2,
    e_VelnorType_Profile3 = 3,
    e_VelnorType_Profile4 = 4,
    e_VelnorType_Profile5 = 5,
    e_VelnorType_Profile6 = 6,
};

/** The switcher modes. The software options file stores the number, and the log shows the name. */
#define SWITCHER_MODES(X)               \
    X(e_SwitcherMode_Pelwin_FCFS, 0)    \
    X(e_SwitcherMode_Pelwin, 1)         \
    X(e_SwitcherMode_Pelwin_25_2997, 2) \
    X(e_SwitcherMode_Pelwin_3G, 3)      \
    X(e_SwitcherMode_2_5ME, 4)          \
    X(e_SwitcherMode_2_5ME_25_2997, 5)  \
    X(e_SwitcherMode_2_5ME_3G, 6)       \
    X(e_SwitcherMode_Drovan, 7)         \
    X(e_SwitcherMode_Drovan_FCFS, 8)    \
    X(e_SwitcherMode_Orvatin, 9)        \
    X(e_SwitcherMode_Kestane, 10)
GENERATE_ENUM(e_SwitcherMode, SWITCHER_MODES)

/**
 * Properties of a platform. They assert that the number is a platform: only a programming error can
 * pass another.
 */
e_SwitcherMode GetDefaultSwitcherMode(e_VelnorType hardwarePlatform);
size_t GetDefaultNumMEs(e_VelnorType hardwarePlatform);
size_t GetMaxNumMEs(e_VelnorType hardwarePlatform);
size_t GetDefaultNumInputs(e_VelnorType hardwarePlatform);
size_t GetMaxNumInputs(e_VelnorType hardwarePlatform);

/**
 * Changes 16 inputs to 18 on platforms that have 18. Any other count stays. Asserts that the number
 * is a platform.
 */
size_t AdjustNumInputs(e_VelnorType hardwarePlatform, size_t numInputs);

/**
 * The modes that the platform can run. For a number that is not a platform: none, without an
 * assertion.
 */
std::set<e_SwitcherMode> GetAvailableSwitcherModes(e_VelnorType hardwarePlatform);
std::set<e_SwitcherMode> GetAllSwitcherModes();
