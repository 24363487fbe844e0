#pragma once

#include <cstddef>

namespace regs {

/**
 * The card's shared address space, mapped for writing as long as this object lives. The
 * shared-memory object must exist; it is never created or resized.
 */
class LiveRegion {
  public:
    /**
     * Allocates memory for the word at `offset` first, since a store without it would raise
     * SIGBUS.
     * Throws Failure if the object is missing or can't be written.
     */
    explicit LiveRegion(std::size_t offset);
    ~LiveRegion();
    LiveRegion(const LiveRegion&) = delete;
    LiveRegion& operator=(const LiveRegion&) = delete;

    void* base() const { return i_base; }

  private:
    void* i_base;
};

}  // namespace regs
