#pragma once

#include <pthread.h>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "include/hwaccess.h"
#include "link/routercomms.h"
#include "thread/pmutex.h"

/**
 * The mailbox over the register map `HWAltera`: the byte at an address is the low byte of the word
 * at that offset of the memory shelf_status_spi_values. Bit 8 of the word is cleared by a write and
 * dropped by a read; the bits above it stay as they are.
 *
 * Each call holds the mutex for its whole length, so it is atomic against other threads of this
 * process, but not against the far side, which can change a word between the load and the store of
 * a write. A sequence of calls is not atomic. A time-critical thread must not use the mailbox.
 *
 * An address of 32 or more stops the process.
 */
template <typename HWAltera>
class TolmiraComms final : public RouterCommsInterface {
  public:
    /** Borrows the design. Touches no hardware. */
    explicit TolmiraComms(HWAltera* altera) : i_altera(altera), i_mutex(PTHREAD_MUTEX_NORMAL) {}

    // Inline by order: the mailbox that the tool creates forwards to these for each access.
    [[gnu::always_inline]] unsigned char readAddress(unsigned int address) override {
        const AutoLockT<Mutex> lock(i_mutex);
        return static_cast<unsigned char>(mailboxByte().get(address));
    }

    [[gnu::always_inline]] void writeAddress(unsigned int address, unsigned char value) override {
        const AutoLockT<Mutex> lock(i_mutex);
        mailboxByte().set(address, value);
    }

  private:
    using Mutex = PMutexT<CriticalThreadCantBlockPolicy>;

    auto& mailboxByte() REQUIRES(i_mutex) {
        return i_altera->sbuf().shelf_status(0).shelf_status_spi_values().value();
    }

    HWAltera* i_altera PT_GUARDED_BY(i_mutex);
    Mutex i_mutex;
};

/**
 * The mailbox that the tool creates: a register map over the mapped region and the binding to it.
 * The region, which it borrows, has to stay mapped for as long as the mailbox is used; its
 * construction and destruction don't touch it.
 */
template <typename HWAltera>
class TolmiraUpgradeComms final : public RouterCommsInterface {
  public:
    explicit TolmiraUpgradeComms(void* base)
        : i_design(VolatileAccessor(), base), i_comms(&i_design) {}

    unsigned char readAddress(unsigned int address) override {
        return i_comms.readAddress(address);
    }
    void writeAddress(unsigned int address, unsigned char value) override {
        i_comms.writeAddress(address, value);
    }

  private:
    HWAltera i_design;
    TolmiraComms<HWAltera> i_comms;
};
