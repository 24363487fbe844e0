#pragma once

#include <cstdint>
#include <stdexcept>

#include "companions/simulator/controller/sharedregion.h"

namespace testsupport {

/**
 * The 32 words of the mailbox in "/resource0", for a test that reads them or plays the far side.
 * Creates the object if it doesn't exist.
 */
class Region {
  public:
    /** Throws std::runtime_error if it cannot be mapped. */
    Region() {
        if (!i_region.open("/resource0")) {
            throw std::runtime_error("shared memory /resource0: " + i_region.error());
        }
        i_words = i_region.mailbox();
    }

    uint32_t word(unsigned address) const {
        return __atomic_load_n(i_words + address, __ATOMIC_ACQUIRE);
    }
    void setWord(unsigned address, uint32_t value) {
        __atomic_store_n(i_words + address, value, __ATOMIC_RELEASE);
    }
    /** Bits 0 to 7 of the word. */
    unsigned char byte(unsigned address) const { return static_cast<unsigned char>(word(address)); }

  private:
    controller::SharedRegion i_region;
    uint32_t* i_words = nullptr;
};

}  // namespace testsupport
