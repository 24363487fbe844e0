#pragma once

#include <pthread.h>

#include <utility>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "include/hwaccess.h"
#include "link/handover.h"
#include "link/routercomms.h"
#include "thread/pmutex.h"

/**
 * The mailbox over the register map `HWAltera`: the byte at an address is the low byte of the word
 * at that offset of the memory shelf_status_spi_values. A write clears bit 8 of the word and keeps
 * the bits above it; a read drops them all.
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
    explicit TolmiraComms(HWAltera* altera)
        : i_mailboxByte(altera->sbuf().shelf_status(0).shelf_status_spi_values().value()),
          i_mutex(PTHREAD_MUTEX_NORMAL) {}

    [[gnu::always_inline]] unsigned char readAddress(unsigned int address) override {
        const AutoLockT<Mutex> lock(i_mutex);
        return static_cast<unsigned char>(i_mailboxByte.get(address));
    }

    [[gnu::always_inline]] void writeAddress(unsigned int address, unsigned char value) override {
        const AutoLockT<Mutex> lock(i_mutex);
        i_mailboxByte.set(address, value);
    }

  private:
    using Mutex = PMutexT<CriticalThreadCantBlockPolicy>;

    using MailboxByte = decltype(std::declval<HWAltera&>()
                                     .sbuf()
                                     .shelf_status(0)
                                     .shelf_status_spi_values()
                                     .value());

    // The walk through the map gives the same object each time, so it is done once.
    MailboxByte i_mailboxByte GUARDED_BY(i_mutex);
    Mutex i_mutex;
};

/**
 * The mailbox that the tool creates: a register map over the mapped region and the binding to it.
 * The region, which it borrows, must stay mapped for as long as the mailbox is used. Constructing
 * and destroying the mailbox doesn't touch the region.
 */
template <typename HWAltera>
class TolmiraUpgradeComms final : public RouterCommsInterface, public DirectHandOver {
  public:
    explicit TolmiraUpgradeComms(void* base)
        : i_design(VolatileAccessor(), base), i_comms(&i_design) {}

    // Forced inline, here and in TolmiraComms: `handOver` consists of these accesses.
    [[gnu::always_inline]] unsigned char readAddress(unsigned int address) override {
        return i_comms.readAddress(address);
    }
    [[gnu::always_inline]] void writeAddress(unsigned int address, unsigned char value) override {
        i_comms.writeAddress(address, value);
    }
    [[nodiscard]] bool handOver(const unsigned char* bytes, unsigned int count) override {
        return HandOver(*this, bytes, count);
    }

  private:
    HWAltera i_design;
    TolmiraComms<HWAltera> i_comms;
};
