#include "companions/simulator/controller/schedule.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>

#include "companions/simulator/controller/random.h"

namespace controller {

namespace {

enum class Need { None, Optional, Value };

template <uint32_t low, uint32_t high>
bool Between(uint32_t value) {
    return value >= low && value <= high;
}

bool Anything(uint32_t /*value*/) {
    return true;
}

bool FitsState10(uint32_t value) {
    return value == 1 || Between<3, 0xFF>(value);
}

bool FitsDirty(uint32_t value) {
    return (value & 0xFF) == 0;
}

struct Kind {
    const char* name;
    FaultScope scope;
    Need need;
    bool (*fits)(uint32_t);
    /** Description of the values that fit. */
    const char* values;
    bool hexadecimal;
    /** Relative frequency in random schedules. */
    unsigned weight;
};

constexpr auto HOST_BYTE = FaultScope::HostByte;
constexpr auto ANSWER = FaultScope::Answer;
constexpr auto RUN = FaultScope::Run;

/** In the order of FaultKind. */
constexpr Kind KINDS[] = {
    {"slow", HOST_BYTE, Need::Value, Anything, "milliseconds", false, 6},
    {"die", HOST_BYTE, Need::None, nullptr, "", false, 4},
    {"reset", HOST_BYTE, Need::Optional, Anything, "milliseconds", false, 5},
    {"state10", HOST_BYTE, Need::Value, FitsState10, "1 or 3 to 255", false, 3},
    {"state7", HOST_BYTE, Need::Value, Between<3, 0xFF>, "3 to 255", false, 3},
    {"unasked", HOST_BYTE, Need::Value, Between<0, 0xFF>, "0 to 255", false, 3},
    {"early", HOST_BYTE, Need::Value, Between<1, 9>, "1 to 9", false, 3},
    {"body", ANSWER, Need::Value, Between<0, 0xFFFF>, "0 to 65535", false, 3},
    {"result", ANSWER, Need::Value, Between<0, 0xFF>, "0 to 255", false, 6},
    {"id", ANSWER, Need::Value, Between<0, 0xFFFF>, "0 to 65535", false, 4},
    {"lead", ANSWER, Need::Value, Between<0, 0xFFFF>, "0 to 0xFFFF", true, 4},
    {"length", ANSWER, Need::Value, Anything, "0 to 0xFFFFFFFF", true, 6},
    {"extra", ANSWER, Need::Value, Between<0, 0xFFFF>, "0 to 65535", false, 3},
    {"cut", ANSWER, Need::Value, Anything, "a count of bytes", false, 4},
    {"silence", ANSWER, Need::None, nullptr, "", false, 5},
    {"late", ANSWER, Need::Value, Anything, "milliseconds", false, 6},
    {"overrun", ANSWER, Need::None, nullptr, "", false, 3},
    {"stop", ANSWER, Need::Value, Anything, "a count of bytes", false, 4},
    {"norearm", RUN, Need::None, nullptr, "", false, 3},
    {"rearm", RUN, Need::Value, Anything, "milliseconds", false, 3},
    {"dirty", RUN, Need::Value, FitsDirty, "a mask whose low byte is 0", true, 3},
    {"appear", RUN, Need::Value, Anything, "the number of a poll", false, 2},
    {"revise", RUN, Need::Value, Between<0, 0xFFFF>, "0 to 65535", false, 2},
};

static_assert(std::size(KINDS) == static_cast<size_t>(FaultKind::Revise) + 1);

const Kind& KindOf(FaultKind kind) {
    return KINDS[static_cast<size_t>(kind)];
}

struct MessageBytes {
    const char* name;
    /** The first byte at which the message is known, and the number of its bytes. */
    unsigned first;
    unsigned end;
};

/** In the order of HostMessage. */
constexpr MessageBytes MESSAGES[] = {
    {"begin", 0, 8}, {"a page", 0, 272}, {"info", 4, 12}, {"end", 4, 8}};

const MessageBytes& BytesOf(HostMessage message) {
    return MESSAGES[static_cast<size_t>(message)];
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text + separator);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

std::optional<uint32_t> ParseNumber(const std::string& text) {
    const bool hexadecimal = text.compare(0, 2, "0x") == 0;
    const std::string digits = hexadecimal ? text.substr(2) : text;
    const char* known = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.size() > 10 ||
        digits.find_first_not_of(known) != std::string::npos) {
        return std::nullopt;
    }
    const uint64_t number = std::stoull(digits, nullptr, hexadecimal ? 16 : 10);
    return number > UINT32_MAX ? std::nullopt
                               : std::optional<uint32_t>(static_cast<uint32_t>(number));
}

/** Parses one fault. Each step is false with the reason in `i_error`. */
class FaultParser {
  public:
    explicit FaultParser(const std::string& word) : i_word(word) {}

    bool parse() {
        const size_t at = i_word.find('@');
        const std::string head = i_word.substr(0, at);
        const size_t equals = head.find('=');
        return name(head.substr(0, equals)) &&
               (equals == std::string::npos ? noValue() : value(head.substr(equals + 1))) &&
               (at == std::string::npos ? noPlace() : place(i_word.substr(at + 1)));
    }

    const Fault& fault() const { return i_fault; }
    std::string error() const { return i_word + ": " + i_error; }

  private:
    bool fail(const std::string& why) {
        i_error = why;
        return false;
    }

    const Kind& kind() const { return KindOf(i_fault.kind); }

    bool name(const std::string& text) {
        const auto* found = std::find_if(std::begin(KINDS), std::end(KINDS),
                                         [&](const Kind& k) { return text == k.name; });
        if (found == std::end(KINDS)) {
            return fail("unknown fault \"" + text + "\"");
        }
        i_fault.kind = static_cast<FaultKind>(found - std::begin(KINDS));
        return true;
    }

    bool noValue() {
        return kind().need != Need::Value || fail(std::string("needs a value: ") + kind().values);
    }

    bool value(const std::string& text) {
        if (kind().need == Need::None) {
            return fail("takes no value");
        }
        i_fault.value = ParseNumber(text);
        return (i_fault.value && kind().fits(*i_fault.value)) ||
               fail("\"" + text + "\" is not valid; give " + kind().values);
    }

    bool noPlace() {
        return kind().scope == FaultScope::Run || fail("needs a place, such as @3.1");
    }

    bool place(const std::string& text) {
        if (kind().scope == FaultScope::Run) {
            return fail("takes no place, since it holds for the whole run");
        }
        const std::vector<std::string> parts = Split(text, '.');
        BytePosition& place = i_fault.place;
        const auto* named =
            std::find_if(std::begin(MESSAGES), std::end(MESSAGES),
                         [&](const MessageBytes& m) { return parts.front() == m.name; });
        const bool read = named == std::end(MESSAGES)
                              ? readPage(parts)
                              : readMessage(parts, static_cast<HostMessage>(named - MESSAGES));
        if (!read) {
            return fail("\"" + text + "\" is not a place; give PAGE.ATTEMPT, PAGE.ATTEMPT.BYTE, " +
                        "begin.BYTE, info.BYTE or end.BYTE");
        }
        return kind().scope == FaultScope::HostByte
                   ? hostByte()
                   : place.message == HostMessage::Page ||
                         fail("applies to the answer to a page; give @PAGE.ATTEMPT");
    }

    bool readPage(const std::vector<std::string>& parts) {
        if (parts.size() < 2 || parts.size() > 3) {
            return false;
        }
        const auto page = ParseNumber(parts[0]);
        const auto attempt = ParseNumber(parts[1]);
        const auto byte = parts.size() == 3 ? ParseNumber(parts[2]) : std::optional<uint32_t>(0);
        if (!page || *page > UINT16_MAX || !attempt || *attempt == 0 || !byte) {
            return false;
        }
        i_fault.place = {HostMessage::Page, static_cast<uint16_t>(*page), *attempt, *byte};
        return true;
    }

    bool readMessage(const std::vector<std::string>& parts, HostMessage message) {
        const auto byte = parts.size() == 2 ? ParseNumber(parts[1]) : std::nullopt;
        i_fault.place = {message, 0, 1, byte.value_or(0)};
        return byte && message != HostMessage::Page;
    }

    bool hostByte() {
        const MessageBytes& bytes = BytesOf(i_fault.place.message);
        return (i_fault.place.byte >= bytes.first && i_fault.place.byte <= bytes.end) ||
               fail(std::string("at ") + bytes.name + ", give a byte from " +
                    std::to_string(bytes.first) + " to " + std::to_string(bytes.end));
    }

    std::string i_word;
    Fault i_fault;
    std::string i_error;
};

bool Holds(const Schedule& schedule, FaultKind kind) {
    return std::any_of(schedule.begin(), schedule.end(),
                       [kind](const Fault& fault) { return fault.kind == kind; });
}

std::string NumberText(uint32_t number, bool hexadecimal) {
    char text[16];
    snprintf(text, sizeof text, hexadecimal ? "0x%X" : "%u", number);
    return text;
}

std::string PlaceText(const BytePosition& place) {
    const std::string byte = "." + std::to_string(place.byte);
    if (place.message != HostMessage::Page) {
        return BytesOf(place.message).name + byte;
    }
    return std::to_string(place.page) + "." + std::to_string(place.attempt) +
           (place.byte == 0 ? "" : byte);
}

FaultKind RandomKind(Random& random) {
    unsigned total = 0;
    for (const Kind& kind : KINDS) {
        total += kind.weight;
    }
    unsigned left = random.below(total);
    size_t i = 0;
    while (left >= KINDS[i].weight) {
        left -= KINDS[i++].weight;
    }
    return static_cast<FaultKind>(i);
}

/** Milliseconds around the host's timeouts of two to three and three to four seconds. */
uint32_t RandomTime(Random& random) {
    return random.oneOf({0, 1, 500, 1999, 2000, 2001, 2500, 2999, 3000, 3001, 3500, 3999, 4000,
                         4001, random.below(6000)});
}

uint32_t RandomAnswerValue(Random& random, FaultKind kind) {
    switch (kind) {
        case FaultKind::Body:
            return random.oneOf({0, 1, 2, 3, 255, 300});
        case FaultKind::Id:
            return random.oneOf({0, 11938, 11939, 11940, 11941, 11942, 11943, 0xFFFF});
        case FaultKind::Lead:
            return random.oneOf({0, 0x02DC, 0x02DD, 0x03DC, 0xDC02, 0xFFFF});
        case FaultKind::Length:
            return random.oneOf({0, 7, 8, 9, 10, 272, 0x7FFFFFF, 0x8000000, 0x8000001, 0xFFFFFFFF});
        case FaultKind::Extra:
            return random.oneOf({1, 2, 7, 8, 9, 17});
        case FaultKind::Cut:
        case FaultKind::Stop:
            return random.below(10);
        case FaultKind::Late:
            return RandomTime(random);
        default:
            return random.oneOf({0, 1, 2, 127, 255});
    }
}

uint32_t RandomValue(Random& random, FaultKind kind) {
    switch (kind) {
        case FaultKind::Slow:
        case FaultKind::Reset:
            return RandomTime(random);
        case FaultKind::State10:
            return random.oneOf({1, 3, 36, 255});
        case FaultKind::State7:
            return random.oneOf({3, 4, 243, 255});
        case FaultKind::Early:
            return 1 + random.below(9);
        case FaultKind::Rearm:
            return random.oneOf({0, 1, 1000, random.below(4000)});
        case FaultKind::Dirty:
            return random.oneOf({0x100, 0xFF00, 0xABCDE100, 0xFFFFFF00});
        case FaultKind::Appear:
            return random.oneOf({0, 1, 2, 30, 58, 59, 60});
        case FaultKind::Revise:
            return random.oneOf({0, 255, 256, 19524, 19525, 19526, 0xFFFF});
        default:
            return RandomAnswerValue(random, kind);
    }
}

/** `last` is the previous fault, or null. */
BytePosition RandomPage(Random& random, uint16_t pages, const Fault* last) {
    BytePosition place;
    if (last != nullptr && ScopeOf(last->kind) != FaultScope::Run &&
        last->place.message == HostMessage::Page && random.oneIn(2)) {
        // The attempt that the previous fault leads to.
        place.page = last->place.page;
        place.attempt = last->place.attempt + 1;
        return place;
    }
    const auto lastPage = static_cast<uint32_t>(pages - 1);
    place.page = static_cast<uint16_t>(
        random.oneOf({0, lastPage, random.below(pages), random.below(pages)}));
    place.attempt = random.oneIn(12) ? 2 + random.below(4) : 1;
    return place;
}

BytePosition RandomPlace(Random& random, FaultScope scope, uint16_t pages, const Fault* last) {
    BytePosition place;
    if (scope == FaultScope::HostByte && (pages == 0 || random.oneIn(6))) {
        place.message = random.oneIn(3)   ? HostMessage::Begin
                        : random.oneIn(2) ? HostMessage::Info
                                          : HostMessage::End;
        const MessageBytes& bytes = BytesOf(place.message);
        place.byte = bytes.first + random.below(bytes.end - bytes.first + 1);
        return place;
    }
    place = RandomPage(random, std::max<uint16_t>(pages, 1), last);
    place.byte =
        scope == FaultScope::Answer
            ? random.below(9)
            : random.oneOf({0, 1, 3, 4, 7, 8, 9, 10, 11, 12, 270, 271, 272, random.below(272)});
    return place;
}

Fault RandomFault(Random& random, uint16_t pages, const Fault* last) {
    Fault fault;
    fault.kind = RandomKind(random);
    const Kind& kind = KindOf(fault.kind);
    if (kind.need == Need::Value || (kind.need == Need::Optional && !random.oneIn(4))) {
        fault.value = RandomValue(random, fault.kind);
    }
    if (kind.scope != FaultScope::Run) {
        fault.place = RandomPlace(random, kind.scope, pages, last);
    }
    if (kind.scope == FaultScope::Answer && fault.kind != FaultKind::Late &&
        fault.kind != FaultKind::Overrun) {
        fault.place.byte = 0;
    }
    return fault;
}

}  // namespace

FaultScope ScopeOf(FaultKind kind) {
    return KindOf(kind).scope;
}

std::optional<Schedule> ParseSchedule(const std::string& text, std::string& error) {
    Schedule schedule;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        FaultParser parser(word);
        if (!parser.parse()) {
            error = parser.error();
            return std::nullopt;
        }
        const FaultKind kind = parser.fault().kind;
        if (ScopeOf(kind) == FaultScope::Run && Holds(schedule, kind)) {
            error = word + ": is given twice, but holds for the whole run";
            return std::nullopt;
        }
        schedule.push_back(parser.fault());
    }
    return schedule;
}

std::string ScheduleText(const Schedule& schedule) {
    std::string text;
    for (const Fault& fault : schedule) {
        const Kind& kind = KindOf(fault.kind);
        text += (text.empty() ? "" : " ") + std::string(kind.name);
        if (fault.value) {
            text += "=" + NumberText(*fault.value, kind.hexadecimal);
        }
        if (kind.scope != FaultScope::Run) {
            text += "@" + PlaceText(fault.place);
        }
    }
    return text;
}

Schedule RandomSchedule(uint64_t seed, uint16_t pages) {
    Random random(seed);
    const uint32_t faults = random.oneOf({0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3});
    Schedule schedule;
    while (schedule.size() < faults) {
        const Fault fault =
            RandomFault(random, pages, schedule.empty() ? nullptr : &schedule.back());
        if (ScopeOf(fault.kind) != FaultScope::Run || !Holds(schedule, fault.kind)) {
            schedule.push_back(fault);
        }
    }
    return schedule;
}

}  // namespace controller
