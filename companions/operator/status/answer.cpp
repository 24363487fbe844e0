#include "companions/operator/status/answer.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <vector>

#include "companions/commandline/failure.h"
#include "companions/jsonvalue/jsonvalue.h"
#include "link/mailbox.h"
#include "memory/hostlock.h"
#include "tool/versioninfo.h"

namespace status {

namespace {

struct Word {
    unsigned address;
    unsigned char value;
    const char* name;
};

constexpr Word WORDS[] = {
    {MAILBOX_RX_STATE, STATE_ABSENT, "off"},
    {MAILBOX_RX_STATE, STATE_REQUESTED, "requested"},
    {MAILBOX_RX_STATE, STATE_READY, "up"},
    {MAILBOX_TX_STATE, STATE_ABSENT, "absent"},
    {MAILBOX_TX_STATE, STATE_REQUESTED, "announced"},
    {MAILBOX_TX_STATE, STATE_READY, "taken over"},
    {MAILBOX_RX_FLAG, 0, "none"},
    {MAILBOX_RX_FLAG, RX_BYTE_OFFERED, "byte offered"},
    {MAILBOX_RX_FLAG, RX_BYTE_TAKEN, "byte taken"},
    {MAILBOX_TX_FLAG, 0, "none"},
    {MAILBOX_TX_FLAG, TX_BYTE_OFFERED, "byte offered"},
    {MAILBOX_TX_FLAG, TX_BYTE_TAKEN, "byte taken"},
};

std::string NameOf(const Snapshot& snapshot, unsigned address) {
    const unsigned char value = snapshot.byte(address);
    const auto* found = std::find_if(std::begin(WORDS), std::end(WORDS), [&](const Word& word) {
        return word.address == address && word.value == value;
    });
    return found != std::end(WORDS) ? found->name : "odd value " + std::to_string(value);
}

constexpr char LEFT[] = "left by a killed run";
constexpr char NEXT_STEP[] =
    "use tolmira_run, or first run tolmira_upgrade once with the path of a missing image";

const char* HostState(const Snapshot& snapshot) {
    if (snapshot.host) {
        return "at work";
    }
    return snapshot.leftByAKilledRun() ? LEFT : "none";
}

std::string Host(const Snapshot& snapshot) {
    return HostState(snapshot) + (snapshot.host ? ", " + ProcessText(*snapshot.host) : "");
}

JsonValue HostObject(const Snapshot& snapshot) {
    const pid_t pid = snapshot.host.value_or(0);
    JsonValue object = {{"state", HostState(snapshot)},
                        {"pid", pid != 0 ? JsonValue(pid) : JsonValue(nullptr)}};
    if (snapshot.leftByAKilledRun()) {
        object["next_step"] = NEXT_STEP;
    }
    return object;
}

std::string Hex(uint32_t number, int digits) {
    char text[16];
    snprintf(text, sizeof text, "0x%0*X", digits, number);
    return text;
}

std::string UpperBits(const Snapshot& snapshot) {
    std::string text;
    for (const auto& [address, bits] : snapshot.upperBits()) {
        text += (text.empty() ? "" : ", ") + Hex(bits, 8) + " at " + std::to_string(address);
    }
    return text.empty() ? "none" : text;
}

/** An object with the addresses as keys. */
JsonValue UpperBitsObject(const Snapshot& snapshot) {
    JsonValue object = JsonValue::object();
    for (const auto& [address, bits] : snapshot.upperBits()) {
        object[std::to_string(address)] = bits;
    }
    return object;
}

std::string Direction(const Snapshot& snapshot, unsigned state, unsigned flag, unsigned data) {
    return NameOf(snapshot, state) + "; flag: " + NameOf(snapshot, flag) +
           "; data: " + Hex(snapshot.byte(data), 2);
}

JsonValue DirectionObject(const Snapshot& snapshot, unsigned state, unsigned flag, unsigned data) {
    return {{"state", NameOf(snapshot, state)},
            {"state_value", snapshot.byte(state)},
            {"flag", NameOf(snapshot, flag)},
            {"flag_value", snapshot.byte(flag)},
            {"data", snapshot.byte(data)}};
}

int ToolRevision() {
    return GetVersionInfo().getRevision();
}

std::string Revisions(const Snapshot& snapshot) {
    return std::to_string(snapshot.revision()) + ", the tool's is " +
           std::to_string(ToolRevision());
}

/** The members that both JSON forms share. */
JsonValue Opening(const Snapshot& snapshot) {
    return {{"format", 1},
            {"present", snapshot.present()},
            {"revision", snapshot.revision()},
            {"tool_revision", ToolRevision()},
            {"host", HostObject(snapshot)}};
}

}  // namespace

e_Exit ExitValue(const Snapshot& snapshot) {
    if (!snapshot.failure.empty()) {
        return e_Exit_NoObject;
    }
    if (!snapshot.present()) {
        return e_Exit_Absent;
    }
    return static_cast<int>(snapshot.revision()) == ToolRevision() ? e_Exit_Current
                                                                   : e_Exit_OtherRevision;
}

std::string Text(const Snapshot& snapshot) {
    return std::string("controller: ") + (snapshot.present() ? "present" : "absent") +
           "\nrevision: " + Revisions(snapshot) + "\nhost: " + Host(snapshot) +
           (snapshot.leftByAKilledRun() ? std::string("; ") + NEXT_STEP : "") +
           "\nreceive: " + Direction(snapshot, MAILBOX_RX_STATE, MAILBOX_RX_FLAG, MAILBOX_RX_DATA) +
           "\nsend: " + Direction(snapshot, MAILBOX_TX_STATE, MAILBOX_TX_FLAG, MAILBOX_TX_DATA) +
           "\nupper bits: " + UpperBits(snapshot);
}

std::string Json(const Snapshot& snapshot) {
    JsonValue object = Opening(snapshot);
    object["receive"] =
        DirectionObject(snapshot, MAILBOX_RX_STATE, MAILBOX_RX_FLAG, MAILBOX_RX_DATA);
    object["send"] = DirectionObject(snapshot, MAILBOX_TX_STATE, MAILBOX_TX_FLAG, MAILBOX_TX_DATA);
    object["upper_bits"] = UpperBitsObject(snapshot);
    return object.dump(1);
}

std::string ShortText(const Snapshot& snapshot) {
    if (!snapshot.failure.empty()) {
        return snapshot.failure;
    }
    return std::string(snapshot.present() ? "present" : "absent") + "; revision " +
           Revisions(snapshot) + "; host: " + Host(snapshot) +
           "; receive: " + NameOf(snapshot, MAILBOX_RX_STATE) +
           "; send: " + NameOf(snapshot, MAILBOX_TX_STATE) + "; upper bits: " + UpperBits(snapshot);
}

std::string ShortJson(const Snapshot& snapshot) {
    if (!snapshot.failure.empty()) {
        return commandline::FailureAsJson(snapshot.failure, e_Exit_NoObject);
    }
    JsonValue object = Opening(snapshot);
    object["receive"] = NameOf(snapshot, MAILBOX_RX_STATE);
    object["send"] = NameOf(snapshot, MAILBOX_TX_STATE);
    object["upper_bits"] = UpperBitsObject(snapshot);
    return object.dump();
}

}  // namespace status
