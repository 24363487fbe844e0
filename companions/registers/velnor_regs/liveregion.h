#pragma once

#include <cstddef>

namespace regs {

/**
 * The card's address space as other programs share it, mapped for as long as this object lives. It
 * has to be there: it is never made and never changes its size.
 */
class LiveRegion {
  public:
    /** What the card's address space holds, in bytes. */
    static constexpr std::size_t SIZE = 0x1000000;

    /** Throws Failure where the object isn't there, is too short or can't be mapped. */
    explicit LiveRegion(bool writable);
    ~LiveRegion();
    LiveRegion(const LiveRegion&) = delete;
    LiveRegion& operator=(const LiveRegion&) = delete;

    void* base() const { return i_base; }

  private:
    void* i_base;
};

}  // namespace regs
