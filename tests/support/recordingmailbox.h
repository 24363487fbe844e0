#pragma once

#include <array>
#include <functional>
#include <string>

#include "link/routercomms.h"

namespace testsupport {

/**
 * A mailbox in memory that writes down every access in order, "R10" for a read of address 10 and
 * "W9=36" for a write of 36 to address 9, one blank between two.
 */
class RecordingMailbox : public RouterCommsInterface {
  public:
    unsigned char readAddress(unsigned int address) override;
    void writeAddress(unsigned int address, unsigned char value) override;

    /** The accesses since the last call. */
    std::string takeAccesses();

    std::array<unsigned char, 32> bytes = {};

    /** The far side: called in front of each read and behind each write, when set. */
    std::function<void(unsigned int address)> beforeRead;
    std::function<void(unsigned int address)> afterWrite;

  private:
    void record(const std::string& access);

    std::string i_accesses;
};

/**
 * A far side that takes every byte at once and gives scripted bytes, over a RecordingMailbox that
 * it borrows. It starts with both directions up.
 */
class EagerFarSide {
  public:
    explicit EagerFarSide(RecordingMailbox& mailbox);

    /** Bytes for the host, offered one by one in front of its reads of the flag. */
    std::string toHost;
    /** All that the host has sent. */
    std::string fromHost;
    /** Takes no byte once so many have come. */
    size_t takes = SIZE_MAX;
    /** Called whenever a byte has come. */
    std::function<void()> onByte;

  private:
    void offer();
    void take();

    RecordingMailbox& i_mailbox;
};

}  // namespace testsupport
