#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/region.h"

namespace testsupport {

/**
 * A far side that answers as a test wants it to, in a thread of the test program.
 *
 * It takes the host's bytes, cuts them at the lengths that the headers state, and hands each
 * message to the script with its number from 0 on; what the script returns goes out as it is. Its
 * revision is 0, and it doesn't come back behind a reset.
 */
class ScriptedFarSide {
  public:
    using Script = std::function<std::string(size_t number, const std::string& message)>;

    struct FarSideBehaviour {
        /** Whether it brings the receive direction up when the host asks. */
        bool connects = true;
    };

    /** Announces itself at once. Borrows the region. */
    ScriptedFarSide(Region& region, const FarSideBehaviour& behaviour, Script script);
    ~ScriptedFarSide();
    ScriptedFarSide(const ScriptedFarSide&) = delete;
    ScriptedFarSide& operator=(const ScriptedFarSide&) = delete;

    /** Stops the thread; then all that the host has said. */
    const std::string& stop();

  private:
    void run();
    bool look();
    void takeByte();
    bool offerByte();

    Region& i_region;
    FarSideBehaviour i_behaviour;
    Script i_script;
    std::string i_received;
    size_t i_messageStart = 0;
    size_t i_messages = 0;
    std::string i_answer;
    bool i_directionNew = true;
    std::atomic<bool> i_stop{false};
    std::thread i_thread;
};

/** The answer to a page, with the given result byte. */
std::string PageAnswer(unsigned char result);

}  // namespace testsupport
