#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace bench {

/** One transfer, as the far side measures it. */
struct Transfer {
    /** From the first byte on offer to the last one taken. */
    uint64_t nanoseconds = 0;
    /** Bytes in both directions. */
    uint64_t bytes = 0;
};

/**
 * The far side for all hosts, a pinned process that does the least a controller must do. It
 * announces itself, takes an upgrade as fast as it can without checking it, and answers each page
 * with a good result.
 *
 * Borrows the mailbox, which must be in memory that a child process shares.
 */
class FarSide {
  public:
    /** Starts it on a processor. Throws std::runtime_error on failure. */
    FarSide(volatile uint32_t* mailbox, int processor);
    ~FarSide();
    FarSide(const FarSide&) = delete;
    FarSide& operator=(const FarSide&) = delete;

    /** Clears the mailbox and announces the controller for an upgrade of this size. */
    void expect(uint32_t pages);
    /** The expected transfer. Throws if it doesn't end within a second. */
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
