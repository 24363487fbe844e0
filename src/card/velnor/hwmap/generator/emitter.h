#pragma once

#include <string>
#include <vector>

#include "src/card/velnor/hwmap/generator/tables.h"

namespace hwmaptables {

struct GeneratedFile {
    std::string name;
    std::string text;
};

/**
 * The sources of one design's register map, from tables without findings. For the design `x`, with
 * the stem genfpga_velnor_vp_x:
 *
 *   STEM.h             the whole design, every group navigable
 *   STEM_lean.h        the design and its domains, but only the groups marked inline; the
 *                      others are declared. It compiles faster.
 *   STEM_domains.cpp   construction and teardown of design and domains
 *   STEM_1.h, _1.cpp   the classes of some of the groups, their construction and teardown; and
 *                      so on up to `units`
 *   STEM_walk.h, .cpp  the walk over the constructed objects
 *
 * The same tables give the same bytes.
 */
std::vector<GeneratedFile> EmitDesign(const Tables& tables, const std::string& design,
                                      unsigned int units);

}  // namespace hwmaptables
