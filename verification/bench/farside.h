#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace bench {

/** What one transfer showed, seen from the far side. */
struct Transfer {
    /** From the first byte on offer to the last one taken. */
    uint64_t nanoseconds = 0;
    /** Bytes that were passed, both ways. */
    uint64_t bytes = 0;
};

/**
 * The far side that all hosts are measured against: a process of its own, pinned, that announces
 * itself, takes an upgrade byte by byte as fast as it can, answers each page with a good result,
 * and looks at nothing in what it takes. It stands for the least that a controller has to do.
 *
 * The mailbox, which it borrows, lies in memory that a child process shares.
 */
class FarSide {
  public:
    /** Starts it on a processor. Throws std::runtime_error if that fails. */
    FarSide(volatile uint32_t* mailbox, int processor);
    ~FarSide();
    FarSide(const FarSide&) = delete;
    FarSide& operator=(const FarSide&) = delete;

    /** Clears the mailbox and announces the controller for an upgrade of so many pages. */
    void expect(uint32_t pages);
    /** The time of the transfer that was expected. Throws if it isn't over a second after. */
    Transfer result() const;

  private:
    struct Order;

    [[noreturn]] void serve();
    void serveTransfer();

    volatile uint32_t* i_mailbox;
    Order* i_order;
    pid_t i_process;
};

}  // namespace bench
