#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/card/velnor/hwmap/mapvisitor.h"

/** What the tests of this folder share: the five designs, and lists of their objects. */
namespace hwmaptest {

struct DesignUnderTest {
    const char* name;
    const char* map;
    /** Makes the design over `base`, walks it, calls `walked` and ends the design. */
    void (*walk)(void* base, hwmap::MapVisitor& visitor, const std::function<void()>& walked);
};

extern const DesignUnderTest DESIGNS[5];

/** A line for each object, addresses as from base 0. */
std::vector<std::string> LinesOf(const DesignUnderTest& design);

}  // namespace hwmaptest
