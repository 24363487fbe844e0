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

    /** Whether addresses 5 to 10 are as a reset leaves them. */
    bool isReset() const;

    std::array<unsigned char, 32> bytes = {};

    /** The far side: called before each read and after each write, when set. */
    std::function<void(unsigned int address)> beforeRead;
    std::function<void(unsigned int address)> afterWrite;
};

/**
 * One that writes down every access in order, "R10" for a read of address 10 and "W9=36" for a
 * write of 36 to address 9, one blank between two.
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
 * A far side that takes every byte at once and gives scripted bytes, over a mailbox that it
 * borrows. It starts with both directions up.
 */
class EagerFarSide {
  public:
    explicit EagerFarSide(MemoryMailbox& mailbox);
    EagerFarSide(const EagerFarSide&) = delete;
    EagerFarSide& operator=(const EagerFarSide&) = delete;

    /** Bytes for the host, offered one by one before its reads of the flag, from `position` on. */
    std::string toHost;
    std::size_t position = 0;
    /** The byte of `toHost` that is late, and by how many polls. */
    std::size_t lateByte = SIZE_MAX;
    unsigned latePolls = 0;
    /** All bytes of the host. */
    std::string fromHost;
    /** Takes no byte once so many have come. */
    std::size_t takes = SIZE_MAX;
    /** Called whenever a byte has come, and before each poll for a byte, when set. */
    std::function<void()> onByte;
    std::function<void()> onPoll;

    /** The bytes that were not offered. */
    std::string left() const { return toHost.substr(position); }

  private:
    void poll();
    void take();

    MemoryMailbox& i_mailbox;
};

}  // namespace testsupport
