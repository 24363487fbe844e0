#pragma once

#include <cstdint>

namespace controller {

/**
 * The controller's view of the mailbox: one 32-bit word per address, the byte in bits 0 to 7.
 *
 * A write stores the whole word. The bits above the byte are zero, as with the device's own port,
 * except those of setDirt(). A read returns the byte alone. Loads acquire and stores release, so a
 * process that sees a flag also sees the byte that was written before it.
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

    /** From now on each word is written with these bits set; they must be above the byte. */
    void setDirt(uint32_t bits) { i_dirt = bits; }

  private:
    uint32_t* i_words;
    uint32_t i_dirt = 0;
};

}  // namespace controller
