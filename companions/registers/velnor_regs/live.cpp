#include <chrono>
#include <iostream>
#include <thread>

#include "companions/registers/velnor_regs/access.h"
#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/liveregion.h"
#include "companions/registers/velnor_regs/number.h"
#include "companions/registers/velnor_regs/path.h"
#include "companions/registers/velnor_regs/word.h"
#include "link/mailbox.h"
#include "memory/cardview.h"
#include "memory/hostlock.h"

namespace regs {

namespace {

/** More words than a group within the mapped space can have. */
constexpr std::size_t MOST_WORDS_READ = 65536;

/** Refuses a location that isn't a single word of the card, before the card is accessed. */
void CheckLocation(const MapLocation& place) {
    if (place.member->isMemory() && !place.word) {
        throw Failure(EXIT_FINDING, place.path + " is a memory; give a word, [0] to [" +
                                        std::to_string(place.member->words - 1) + "]");
    }
    if (place.address() > REGION_SIZE - 4) {
        throw Failure(EXIT_FINDING, place.path + " is at " + HexText(place.address()) +
                                        ", past the end of the mapped space at " +
                                        HexText(REGION_SIZE) + "; choose a lower address");
    }
}

MapLocation LocationOf(const Map& map, const Request& request) {
    MapLocation place = ResolvePath(map, request.operands[0]);
    CheckLocation(place);
    return place;
}

void CheckCard(const CardView& card) {
    if (!card.failure().empty()) {
        throw Failure(EXIT_FINDING, card.failure());
    }
}

/** A write during an upgrade can break it. */
void CheckIdle(bool force) {
    const CardView card;
    CheckCard(card);
    const std::optional<pid_t> host = card.host();
    if (host && !force) {
        throw Failure(EXIT_FINDING, "a tolmira_upgrade is at work, " + ProcessText(*host) +
                                        "; wait until it has ended or use --force");
    }
}

std::uint32_t Load(const MapLocation& place) {
    return place.word ? place.member->memoryObject->getraw(*place.word)
                      : place.member->registerObject->get();
}

/** A field's neighbours keep their values. */
void Store(const MapLocation& place, std::uint32_t value) {
    if (place.field == nullptr) {
        if (place.word) {
            place.member->memoryObject->setraw(*place.word, value);
        } else {
            place.member->registerObject->set(value);
        }
    } else if (place.word) {
        place.field->memoryObject->set(*place.word, value);
    } else {
        place.field->registerObject->set(value);
    }
}

/** The word, or all words of the group. */
std::vector<MapLocation> WordsToRead(const std::variant<MapLocation, GroupLocation>& location,
                                     bool forced) {
    std::vector<MapLocation> words;
    if (const auto* word = std::get_if<MapLocation>(&location)) {
        words.push_back(*word);
    } else {
        words = WordsOf(std::get<GroupLocation>(location), MOST_WORDS_READ);
    }
    for (const MapLocation& word : words) {
        CheckLocation(word);
        CheckRead(word, forced);
    }
    return words;
}

std::uint32_t WordOf(const CardView& card, const MapLocation& location) {
    const std::optional<std::uint32_t> word = card.word(location.address());
    if (!word) {
        throw Failure(EXIT_FINDING, location.path + " can't be read; check /dev/shm");
    }
    return *word;
}

/** The field's value, or the word's. */
std::uint32_t ValueOf(const CardView& card, const MapLocation& location) {
    const std::uint32_t word = WordOf(card, location);
    return location.field == nullptr
               ? word
               : FieldOfWord(word, location.field->mask, location.field->shift);
}

}  // namespace

Answer Read(const Request& request) {
    const Map map = OpenMap(request.design, nullptr);
    const auto location = ResolveOperand(map, request.operands[0]);
    const std::vector<MapLocation> words = WordsToRead(location, request.force);
    const CardView card;
    CheckCard(card);
    std::vector<std::uint32_t> values;
    values.reserve(words.size());
    for (const MapLocation& word : words) {
        values.push_back(WordOf(card, word));
    }
    const auto* group = std::get_if<GroupLocation>(&location);
    return group != nullptr ? DescribeValues(request.design, *group, values)
                            : DescribeWord(request.design, words[0], values[0]);
}

int Watch(const Request& request) {
    const Map map = OpenMap(request.design, nullptr);
    std::vector<MapLocation> words;
    for (const std::string& operand : request.operands) {
        const auto more = WordsToRead(ResolveOperand(map, operand), request.force);
        words.insert(words.end(), more.begin(), more.end());
    }
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::optional<std::uint32_t>> last(words.size());
    for (std::uint64_t lines = 0;;) {
        // Opened for each poll, so that a new object is noticed.
        const CardView card;
        CheckCard(card);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        for (std::size_t i = 0; i < words.size(); ++i) {
            const Change change{time.count(), words[i].path, ValueOf(card, words[i]), last[i]};
            if (change.value == last[i]) {
                continue;
            }
            (request.json ? PrintChangeAsJson : PrintChange)(std::cout, change);
            last[i] = change.value;
            if (++lines == request.count) {
                return 0;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(request.interval));
    }
}

Answer Write(const Request& request) {
    const Map plan = OpenMap(request.design, nullptr);
    const MapLocation planned = LocationOf(plan, request);
    const auto value = static_cast<std::uint32_t>(
        NumberOf(request.operands[1], planned.field == nullptr ? UINT32_MAX : planned.field->mask));
    if (!request.yes) {
        throw Failure(EXIT_WRONG_USAGE,
                      "this changes " + planned.path + " on the live card; use --yes to confirm");
    }
    CheckWrite(planned, request.force);
    CheckIdle(request.force);
    const LiveRegion region(planned.address());
    const Map map = OpenMap(request.design, region.base());
    const MapLocation place = LocationOf(map, request);
    const std::uint32_t before = Load(place);
    Store(place, value);
    Answer answer = DescribeWord(request.design, place, Load(place));
    answer.facts.emplace_back("before", Hex{before});
    return answer;
}

}  // namespace regs
