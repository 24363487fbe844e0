#pragma once

#include "src/card/velnor/hwmap/generator/emitter.h"

namespace hwmaptables {

/**
 * The source of the meanings of all designs, from tables without findings; meanings.h beside the
 * designs declares them. The same tables give the same bytes.
 */
GeneratedFile EmitMeanings(const Tables& tables);

}  // namespace hwmaptables
