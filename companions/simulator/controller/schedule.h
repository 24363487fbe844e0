#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace controller {

/**
 * Fault injection: which errors the controller makes, and at which position in the protocol.
 *
 * As text, a schedule is a list of faults separated by blanks, each `kind[=value][@place]`. Numbers
 * are decimal, or hexadecimal with 0x. A place names a message of the host, for a page also the
 * attempt, and a byte, as the controller counts them:
 *
 *     3.1.100     byte 100 at page 3, first attempt
 *     3.1         byte 0 there
 *     begin.5     byte 5 at the opening message
 *     info.4      byte 4 at the information; info and end begin at byte 4, when their id is known
 *
 * Bytes count from 0, attempts from 1. A frame counts as an attempt from the moment its first byte
 * is offered, even if it is never completed. Bytes 2 and 3 are a message's id. Before them, the
 * first message after a host has asked for the receive direction counts as the opening one, and
 * each later one as a page. Bytes 8 and 9 are a page's number. Before them, the first page counts
 * as page 0. A later one counts as the next page, first attempt, if the host has read a good answer
 * since the last page frame, and otherwise as the same page once more.
 *
 * A fault at a byte of the host acts when the byte is offered and before it is taken. A fault after
 * the last byte has the number 272 at a page, 12 at info, 8 at begin and end. It acts when the
 * whole message has been taken, just before the last byte is acknowledged; that happens in any
 * case. Several at one place act in this order, up to a die or reset:
 *
 *     slow=MS      the byte is taken MS milliseconds late; after the last byte, which is
 *                  acknowledged at once, the controller continues MS milliseconds late
 *     die          from here on the controller does nothing at all
 *     reset        the controller clears addresses 5 to 10 and discards the message and its answers
 *     reset=MS     the same, and MS milliseconds later it brings both directions up again
 *     state10=V    address 10 is set to V, 1 or from 3 on; then the byte is taken as usual
 *     state7=V     address 7 is set to V, from 3 on; then the byte is taken as usual
 *     unasked=R    a whole answer with result R is queued for the host
 *     early=N      the first N bytes (1 to 9) of a good answer are queued, and the next answer
 *                  starts after its first N bytes; a reset cancels that too
 *
 * Faults of the answer to a page. Their byte is a byte of the answer and matters only to late and
 * overrun. Several at one place are applied in this order:
 *
 *     body=N       the body has N bytes, zero after the result, and the stated length matches
 *     result=N     the first byte of the body, if there is one
 *     id=N         the message's id
 *     lead=N       the two lead bytes, the first one in the high byte of N
 *     length=N     the stated length alone
 *     extra=N      N zero bytes after the answer
 *     cut=N        only the first N bytes are offered
 *     silence      no byte is offered
 *     late=MS      the byte is offered MS milliseconds later than it could be
 *     overrun      the byte is overwritten by the next one before the host can take it: it is never
 *                  flagged
 *     stop=N       the controller dies when it has offered N bytes, including early ones
 *
 * Each of these acts once. Faults without a place hold for the whole run:
 *
 *     norearm      after a reset by the host nothing is brought up again
 *     rearm=MS     after a reset by the host both directions come up MS milliseconds later
 *     dirty=MASK   each word is written with these bits set; the low byte of MASK is 0
 *     appear=N     the controller announces itself on the host's presence poll N, counted from 0
 *     revise=V     the revision changes to V when the host asks for the receive direction, before
 *                  the controller brings it up
 */
enum class FaultKind {
    Slow,
    Die,
    Reset,
    State10,
    State7,
    Unasked,
    Early,
    Body,
    Result,
    Id,
    Lead,
    Length,
    Extra,
    Cut,
    Silence,
    Late,
    Overrun,
    Stop,
    NoRearm,
    Rearm,
    Dirty,
    Appear,
    Revise,
};

/** What a kind of fault applies to. */
enum class FaultScope { HostByte, Answer, Run };

FaultScope ScopeOf(FaultKind kind);

enum class HostMessage { Begin, Page, Info, End };

struct BytePosition {
    HostMessage message = HostMessage::Page;
    /** Of a page only. */
    uint16_t page = 0;
    unsigned attempt = 1;
    unsigned byte = 0;
};

struct Fault {
    FaultKind kind = FaultKind::Silence;
    /** Absent if the kind takes none, and for a permanent reset. */
    std::optional<uint32_t> value;
    BytePosition place;
};

using Schedule = std::vector<Fault>;

/** Reads a schedule; without a value `error` names the fault and what is wrong with it. */
[[nodiscard]] std::optional<Schedule> ParseSchedule(const std::string& text, std::string& error);

/** The text that parses to this schedule. */
std::string ScheduleText(const Schedule& schedule);

/** A random schedule for an image of `pages` pages; a seed gives the same one on every machine. */
Schedule RandomSchedule(uint64_t seed, uint16_t pages);

}  // namespace controller
