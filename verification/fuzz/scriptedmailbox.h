#pragma once

#include <array>
#include <functional>
#include <string>

#include "link/routercomms.h"

namespace fuzzing {

/**
 * A mailbox in memory whose far side takes every byte at once and gives the bytes of a script.
 * While it lives it is the program's clock, too: each poll for a byte moves that on by a second, so
 * that no wait takes real time. Nothing else may, as libFuzzer has a thread that sleeps and looks
 * on.
 */
class ScriptedMailbox final : public RouterCommsInterface {
  public:
    ScriptedMailbox();
    ~ScriptedMailbox() override;
    ScriptedMailbox(const ScriptedMailbox&) = delete;
    ScriptedMailbox& operator=(const ScriptedMailbox&) = delete;

    unsigned char readAddress(unsigned int address) override;
    void writeAddress(unsigned int address, unsigned char value) override;

    /** For the host, from the position on. */
    std::string toHost;
    size_t position = 0;
    /** The byte of the script that is late, and by how many polls. */
    size_t lateByte = SIZE_MAX;
    unsigned latePolls = 0;
    /** All that the host has sent. */
    std::string fromHost;
    /** Called when a byte has come, when set. */
    std::function<void()> onByte;

    /** Whether addresses 5 to 10 are as a reset leaves them. */
    bool isReset() const;

  private:
    void offer();

    std::array<unsigned char, 32> i_bytes = {};
};

}  // namespace fuzzing
