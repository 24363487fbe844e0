#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace controller {

/**
 * The faults of a controller: what it does wrong, and where in the conversation.
 *
 * As text, a schedule is a list of faults with blanks between them, each `kind[=value][@place]`.
 * Numbers are decimal, or hexadecimal behind 0x. A place names a message of the host, for pages
 * with the attempt, and a byte, all of them counted from what reached the controller:
 *
 *     3.1.100     byte 100 at page 3, first attempt
 *     3.1         byte 0 there
 *     begin.5     byte 5 at the opening message; info and end, whose id has to be known first, from
 *                 byte 4 on
 *
 * Bytes count from 0, attempts from 1. A frame counts as an attempt from the moment its first byte
 * is on offer, also if it breaks off. The first message of a host that has asked for the receive
 * direction is taken for the opening one, and each later one for a page, until its id has come in
 * (bytes 2 and 3). Until its number has come in (bytes 8 and 9), a page frame is taken for the next
 * page, first attempt, if what the host has read since the last page frame is a good answer, and
 * otherwise for the same page once more; the first one is taken for page 0.
 *
 * Faults at a byte of the host act when it is on offer and before it is taken; one behind the last
 * byte (272 at a page, 12 at info, 8 at begin and end) acts when the whole message has been taken,
 * just before its last byte is acknowledged, which it is in any case. Several at one place act in
 * this order, up to a die or reset:
 *
 *     slow=MS      the byte is taken MS milliseconds late; behind the last byte, which is
 *                  acknowledged at once, the controller goes on MS milliseconds late
 *     die          from here on the controller does nothing at all
 *     reset        the controller clears addresses 5 to 10 and forgets the message and its answers;
 *                  it doesn't come back
 *     reset=MS     the same, and MS milliseconds later it brings both directions up again
 *     state10=V    address 10 is set to V, 1 or from 3 on; then the byte is taken as ever
 *     state7=V     address 7 is set to V, from 3 on; the same
 *     unasked=R    a whole answer with result R is put into the queue of bytes for the host
 *     early=N      the first N bytes (1 to 9) of a good answer are put into the queue, and the next
 *                  answer starts behind its first N bytes; a reset forgets that too
 *
 * Faults of the answer to a page, whose byte counts in the answer and matters to late and overrun
 * only. Several at one place are applied in this order:
 *
 *     body=N       the body has N bytes, zeroes behind the result, and the stated length says so
 *     result=N     the first byte of the body, where there is one
 *     id=N         the message's id
 *     lead=N       the two lead bytes, the first one in the high byte of N
 *     length=N     the stated length alone
 *     extra=N      N zero bytes behind the answer
 *     cut=N        only the first N bytes are offered
 *     silence      no byte is offered
 *     late=MS      the byte is offered MS milliseconds later than it could be
 *     overrun      the byte is overwritten by the next one before the host can take it: it never
 *                  comes with a flag of its own
 *     stop=N       the controller dies when it has offered N bytes, with those offered early
 *
 * Each of these acts once. Those of a whole run, without a place, hold throughout:
 *
 *     norearm      after a reset by the host nothing is brought up again
 *     rearm=MS     after a reset by the host both directions come up MS milliseconds later
 *     dirty=MASK   each word is written with these bits set; the low byte of MASK is 0
 *     appear=N     the controller announces itself on the host's presence poll N, counted from 0
 *     revise=V     the revision changes to V when the host asks for the receive direction, and
 *                  before it gets it
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

/** What a kind of fault goes with. */
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
    /** Absent only where the kind takes none, and at a reset for good. */
    std::optional<uint32_t> value;
    BytePosition place;
};

using Schedule = std::vector<Fault>;

/** Reads a schedule; without a value `error` names the fault and what is wrong with it. */
[[nodiscard]] std::optional<Schedule> ParseSchedule(const std::string& text, std::string& error);

/** The text that parses to this schedule. */
std::string ScheduleText(const Schedule& schedule);

/** A schedule for an image of so many pages; the same for the same seed on every machine. */
Schedule RandomSchedule(uint64_t seed, uint16_t pages);

}  // namespace controller
