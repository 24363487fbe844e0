#pragma once

#include <cstdint>

namespace controller {

/**
 * The mailbox from the far side: one 32-bit word for each address, the byte in bits 0 to 7.
 *
 * A write stores the whole word with zeroes above the byte, as the device's own port does, unless
 * it has been told of bits that are always set; a read looks at the byte alone. Loads acquire and
 * stores release, so that a byte written before its flag is there when the other process sees the
 * flag.
 *
 * Borrows the words; any thread, no lock.
 */
class MailboxPort {
  public:
    explicit MailboxPort(uint32_t* words) : i_words(words) {}

    unsigned char read(unsigned int address) const {
        return static_cast<unsigned char>(__atomic_load_n(i_words + address, __ATOMIC_ACQUIRE));
    }

    void write(unsigned int address, unsigned char byte) {
        __atomic_store_n(i_words + address, uint32_t{byte} | i_dirt, __ATOMIC_RELEASE);
    }

    /** From now on each word is written with these bits set, all of them above the byte. */
    void setDirt(uint32_t bits) { i_dirt = bits; }

  private:
    uint32_t* i_words;
    uint32_t i_dirt = 0;
};

}  // namespace controller
