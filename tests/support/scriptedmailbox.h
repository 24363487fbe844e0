#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "link/routercomms.h"

namespace testsupport {

/** A mailbox in memory, with hooks for its far side. */
class MemoryMailbox : public RouterCommsInterface {
  public:
    unsigned char readAddress(unsigned int address) override;
    void writeAddress(unsigned int address, unsigned char value) override;

    /** Whether addresses 5 to 10 are zero, as after a reset. */
    bool isReset() const;

    std::array<unsigned char, 32> bytes = {};

    /** For the far side: if set, called before each read and after each write. */
    std::function<void(unsigned int address)> beforeRead;
    std::function<void(unsigned int address)> afterWrite;
};

/**
 * A mailbox that records its accesses, separated by blanks: "R10" for a read of address 10, "W9=36"
 * for a write of 36 to address 9.
 */
class RecordingMailbox final : public MemoryMailbox {
  public:
    unsigned char readAddress(unsigned int address) override;
    void writeAddress(unsigned int address, unsigned char value) override;

    /** The accesses since the last call. */
    std::string takeAccesses();

  private:
    void record(const std::string& access);

    std::string i_accesses;
};

/**
 * A far side that takes every byte at once and sends scripted bytes. Borrows the mailbox. Both
 * directions are up at the start.
 */
class EagerFarSide {
  public:
    explicit EagerFarSide(MemoryMailbox& mailbox);
    EagerFarSide(const EagerFarSide&) = delete;
    EagerFarSide& operator=(const EagerFarSide&) = delete;

    /** Bytes for the host. Before a read of the flag, the byte at `position` is offered. */
    std::string toHost;
    std::size_t position = 0;
    /** The index of a late byte in `toHost`, and the number of polls by which it is late. */
    std::size_t lateByte = SIZE_MAX;
    unsigned latePolls = 0;
    /** All bytes from the host. */
    std::string fromHost;
    /** The number of bytes it takes before it stops taking any. */
    std::size_t takes = SIZE_MAX;
    /** If set, called after each byte from the host, and before each poll for a byte. */
    std::function<void()> onByte;
    std::function<void()> onPoll;

    /** The bytes not offered yet. */
    std::string left() const { return toHost.substr(position); }

  private:
    void poll();
    void take();

    MemoryMailbox& i_mailbox;
};

}  // namespace testsupport
