#pragma once

#include <cstddef>

namespace regs {

/**
 * The card's address space as other programs share it, mapped for writing for as long as this
 * object lives. The shared-memory object must be there: it is never made and its size never
 * changes.
 */
class LiveRegion {
  public:
    /**
     * Makes sure first that there is memory for the word at `offset`, since a store without would
     * end the process. Throws Failure if the object isn't there or can't be written.
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
