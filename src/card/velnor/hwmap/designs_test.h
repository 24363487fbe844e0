#pragma once

#include <functional>
#include <string>
#include <vector>

#include "src/card/velnor/hwmap/mapvisitor.h"

/** Shared by the tests of this folder: the five designs, and lists of their objects. */
namespace hwmaptest {

struct DesignUnderTest {
    const char* name;
    const char* map;
    /** Makes the design over `base`, walks it, calls `walked` and destroys the design. */
    void (*walk)(void* base, hwmap::MapVisitor& visitor, const std::function<void()>& walked);
};

extern const DesignUnderTest DESIGNS[5];

/** A line for each object, with addresses from base 0. */
std::vector<std::string> LinesOf(const DesignUnderTest& design);

}  // namespace hwmaptest
