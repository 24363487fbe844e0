#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/faultplan.h"
#include "companions/simulator/controller/flash.h"
#include "companions/simulator/controller/session.h"
#include "verification/campaign/locksteptool.h"
#include "verification/campaign/outcome.h"
#include "verification/campaign/scenario.h"

namespace campaign {

/**
 * The controller of a scenario, inside this process, and the tools' clock. It acts when a tool
 * hands over the turn, and advances the time as the scenario says.
 *
 * Borrows the scenario and the words, and initialises the words. One thread.
 */
class EmbeddedController {
  public:
    EmbeddedController(const Scenario& scenario, uint32_t* words);

    /** Serves the tool to its end. Before each call of the tool, `onCall` gets the locks so far. */
    ToolEnd serve(LockstepTool& tool, const std::function<void(uint64_t)>& onCall = {});
    /** Lets time pass without a tool. */
    void idle(std::chrono::milliseconds time);

    /** The calls of the tools so far. */
    const std::vector<ToolCall>& steps() const { return i_steps; }
    Words words() const;
    std::string flash() const;
    std::string events() const { return i_said.str(); }
    uint16_t revision() const { return i_session.revision(); }
    unsigned resets() const { return i_session.resets(); }
    /** The bytes taken from the tools, and the bytes that the tools have taken. */
    size_t bytesTaken() const { return i_bytesTaken; }
    size_t bytesGiven() const { return i_bytesGiven; }

  private:
    void handle(Call call);
    void announceIfDue();
    void act();
    std::chrono::milliseconds now() const;

    const Scenario& i_scenario;
    uint32_t* i_words;
    std::ostringstream i_said;
    controller::EventLog i_events;
    controller::FaultPlan i_plan;
    controller::Flash i_flash;
    controller::Conversation i_conversation;
    controller::Session i_session;

    int64_t i_now;
    bool i_busy = true;
    uint32_t i_polls = 0;
    bool i_appeared = false;
    std::vector<ToolCall> i_steps;
    /** A byte is on offer to the host. */
    bool i_onOffer = false;
    size_t i_bytesTaken = 0;
    size_t i_bytesGiven = 0;
};

}  // namespace campaign
