#pragma once

#include <cstdint>

#include "include/hwaccess.h"

namespace hwmap {

/**
 * Sees the objects of a design, one after the other in the order in which they were constructed:
 * each group before its members, each member before its fields. A call belongs to the group and
 * member that came last.
 *
 * Names are those of the hardware tables and live as long as the program, so "sbuf" for
 * Domain_sbuf and "R_debug" for Register_R_debug. The objects belong to the design. Elements count
 * from 0; what doesn't repeat is element 0. The walk itself touches no hardware.
 */
class MapVisitor {
  public:
    virtual ~MapVisitor() = default;

    /** `object` is where the group itself lies, `address` what it stands for. */
    virtual void group(const char* domain, const char* name, unsigned int instance,
                       std::uintptr_t address, const void* object) = 0;
    virtual void registerWord(const char* name, unsigned int element,
                              Register<VolatileAccessor, unsigned int>& object) = 0;
    virtual void memory(const char* name, unsigned int element,
                        Memory<VolatileAccessor, unsigned int>& object) = 0;
    virtual void registerField(const char* name, unsigned int element,
                               RegisterField<VolatileAccessor, unsigned int>& object) = 0;
    virtual void memoryField(const char* name, unsigned int element,
                             MemoryField<VolatileAccessor, unsigned int>& object) = 0;
};

}  // namespace hwmap
