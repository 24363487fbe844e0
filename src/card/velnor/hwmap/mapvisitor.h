#pragma once

#include <cstdint>

#include "include/hwaccess.h"

namespace hwmap {

/**
 * Visits the objects of a design, one after the other, in the order of their construction: each
 * group before its members, each member before its fields. A call belongs to the last group and
 * member before it.
 *
 * Names are those of the hardware tables and live as long as the program: "sbuf" for Domain_sbuf
 * and "R_debug" for Register_R_debug. The objects belong to the design. Elements count from 0; a
 * single one is element 0. The walk itself touches no hardware.
 */
class MapVisitor {
  public:
    virtual ~MapVisitor() = default;

    /**
     * `object` is the address of the group object, `address` the hardware address that it
     * represents.
     */
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
