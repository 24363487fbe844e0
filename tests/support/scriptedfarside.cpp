#include "tests/support/scriptedfarside.h"

#include <utility>

#include "link/mailbox.h"

namespace testsupport {

namespace {

constexpr size_t HEADER_SIZE = 8;
constexpr size_t LENGTH_OFFSET = 4;

size_t StatedLength(const std::string& message) {
    size_t length = 0;
    for (size_t i = LENGTH_OFFSET; i < HEADER_SIZE; ++i) {
        length = length << 8 | static_cast<unsigned char>(message[i]);
    }
    return length;
}

}  // namespace

std::string PageAnswer(unsigned char result) {
    return std::string("\x02\xDC\x2E\xA6\0\0\0\x09", HEADER_SIZE) + static_cast<char>(result);
}

ScriptedFarSide::ScriptedFarSide(Region& region, const FarSideBehaviour& behaviour, Script script)
    : i_region(region), i_behaviour(behaviour), i_script(std::move(script)) {
    i_region.setWord(MAILBOX_REVISION_LOW, 0);
    i_region.setWord(MAILBOX_REVISION_HIGH, 0);
    i_region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_thread = std::thread([this] { run(); });
}

ScriptedFarSide::~ScriptedFarSide() {
    stop();
}

const std::string& ScriptedFarSide::stop() {
    i_stop = true;
    if (i_thread.joinable()) {
        i_thread.join();
    }
    return i_received;
}

void ScriptedFarSide::run() {
    while (!i_stop) {
        if (!look()) {
            std::this_thread::yield();
        }
    }
}

bool ScriptedFarSide::look() {
    const bool offered = i_region.byte(MAILBOX_TX_FLAG) == TX_BYTE_OFFERED;
    if (i_behaviour.connects && i_region.byte(MAILBOX_RX_STATE) == STATE_REQUESTED) {
        i_region.setWord(MAILBOX_RX_STATE, STATE_READY);
    }
    if (i_region.byte(MAILBOX_TX_STATE) == STATE_ABSENT) {
        return false;
    }
    if (offered) {
        takeByte();
    }
    return offerByte() || offered;
}

void ScriptedFarSide::takeByte() {
    i_received += static_cast<char>(i_region.byte(MAILBOX_TX_DATA));
    const std::string message = i_received.substr(i_messageStart);
    if (message.size() >= HEADER_SIZE && message.size() == StatedLength(message)) {
        i_messageStart = i_received.size();
        i_answer += i_script(i_messages++, message);
    }
    i_region.setWord(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
}

bool ScriptedFarSide::offerByte() {
    if (i_answer.empty() || i_region.byte(MAILBOX_RX_STATE) != STATE_READY) {
        return false;
    }
    if (!i_directionNew && i_region.byte(MAILBOX_RX_FLAG) != RX_BYTE_TAKEN) {
        return false;
    }
    i_region.setWord(MAILBOX_RX_DATA, static_cast<unsigned char>(i_answer.front()));
    i_region.setWord(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
    i_answer.erase(0, 1);
    i_directionNew = false;
    return true;
}

}  // namespace testsupport
