#include "companions/registers/velnor_regs/word.h"

#include <algorithm>

#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

constexpr unsigned int BITS = 32;
constexpr char LETTERS[] = "abcdefghijklmnopqrstuvwxyzABCDEF";  // one for each bit

/** In groups of four, the highest bit first. */
std::string InFours(const std::string& head, const std::string& cells) {
    std::string line = head;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += (i % 4 == 0 ? " " : "") + std::string(1, cells[i]);
    }
    return line;
}

/** The number of the highest bit above each group of four. */
std::string BitNumbers() {
    std::string line = "bit  ";
    for (int bit = BITS - 1; bit > 0; bit -= 4) {
        std::string number = " " + std::to_string(bit);
        number.resize(5, ' ');
        line += number;
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

std::vector<std::string> Draw(const std::string& letters,
                              const std::optional<std::uint32_t>& value) {
    std::vector<std::string> drawing = {BitNumbers(), InFours("field", letters)};
    if (value) {
        std::string digits;
        for (unsigned int bit = BITS; bit-- > 0;) {
            digits += (*value >> bit & 1) != 0 ? '1' : '0';
        }
        drawing.push_back(InFours("value", digits));
    }
    return drawing;
}

bool HasAccess(const Series<Field>& field) {
    return field.said.access != hwmap::e_Access_Unstated;
}

bool HasReset(const Series<Field>& field) {
    return field.said.reset.has_value();
}

/** Access and reset have columns only if one of the fields states them. */
void AddSaid(const Said& said, const std::vector<Series<Field>>& fields, Row& row) {
    if (std::any_of(fields.begin(), fields.end(), HasAccess)) {
        row.emplace_back(said.access == hwmap::e_Access_Unstated ? Cell()
                                                                 : Cell(AccessText(said.access)));
    }
    if (std::any_of(fields.begin(), fields.end(), HasReset)) {
        row.emplace_back(said.reset ? Cell(Hex{*said.reset}) : Cell());
    }
}

void AddSaidColumns(const std::vector<Series<Field>>& fields, Answer& answer) {
    if (std::any_of(fields.begin(), fields.end(), HasAccess)) {
        answer.columns.emplace_back("access");
    }
    if (std::any_of(fields.begin(), fields.end(), HasReset)) {
        answer.columns.emplace_back("reset");
    }
}

void AddFact(const char* name, const std::string& text, Answer& answer) {
    if (!text.empty()) {
        answer.facts.emplace_back(name, text);
    }
}

/** Adds the fields to the rows and to the letters of the bits; returns the bits that they cover. */
std::uint32_t AddFields(const MapLocation& place, const std::optional<std::uint32_t>& value,
                        Answer& answer, std::string& letters) {
    std::uint32_t named = 0;
    for (const auto& series : place.member->fields) {
        for (std::size_t i = 0; i < series.elements.size(); ++i) {
            const Field& field = series.elements[i];
            if (place.field != nullptr && place.field != &field) {
                continue;
            }
            const char letter = LETTERS[answer.rows.size()];
            for (unsigned int bit = 0; bit < BITS; ++bit) {
                if ((field.mask << field.shift >> bit & 1) != 0) {
                    letters[BITS - 1 - bit] = letter;
                }
            }
            answer.rows.push_back({std::string(1, letter),
                                   series.name + IndexOf(series.repeats(), i), BitsOf(field),
                                   Hex{field.mask}, std::uint64_t{field.shift}});
            AddSaid(series.said, place.member->fields, answer.rows.back());
            if (value) {
                answer.rows.back().emplace_back(Hex{FieldOfWord(*value, field.mask, field.shift)});
            }
            named |= field.mask << field.shift;
        }
    }
    return named;
}

}  // namespace

Answer DescribeWord(const std::string& design, const MapLocation& place,
                    const std::optional<std::uint32_t>& value) {
    Answer answer;
    answer.subject = "fields";
    answer.columns = {"letter", "field", "bits", "mask", "shift"};
    AddSaidColumns(place.member->fields, answer);
    std::string letters(BITS, '.');
    const std::uint32_t named = AddFields(place, value, answer, letters);
    answer.facts = {{"design", design}, {"path", place.path}, {"address", Hex{place.address()}}};
    if (!value) {
        AddFact("group", place.group->about, answer);
        AddFact("about", place.said->about, answer);
    }
    if (place.member->isMemory() && !place.word) {
        answer.facts.emplace_back("words", place.member->words);
    }
    if (value) {
        answer.columns.emplace_back("value");
        answer.facts.emplace_back("word", Hex{*value});
        if (place.field == nullptr && (*value & ~named) != 0) {
            answer.facts.emplace_back("unnamed", Hex{*value & ~named});
        }
    }
    answer.drawing = Draw(letters, value);
    return answer;
}

Answer DescribeGroup(const std::string& design, const GroupLocation& location) {
    Answer answer;
    answer.facts = {
        {"design", design}, {"path", location.path}, {"address", Hex{location.group->address}}};
    AddFact("group", location.said->about, answer);
    answer.subject = "members";
    answer.columns = {"member", "kind", "address", "words", "about"};
    for (const auto& series : location.group->members) {
        const Member& member = series.elements[0];
        answer.rows.push_back({series.name + RangeOf(series),
                               member.isMemory() ? "memory" : "register", Hex{member.address},
                               member.isMemory() ? Cell(member.words) : Cell(),
                               series.said.about.empty() ? Cell() : Cell(series.said.about)});
    }
    return answer;
}

Answer DescribeValues(const std::string& design, const GroupLocation& location,
                      const std::vector<std::uint32_t>& values) {
    Answer answer;
    answer.facts = {
        {"design", design}, {"path", location.path}, {"address", Hex{location.group->address}}};
    answer.subject = "fields";
    answer.columns = {"path", "address", "word", "field", "bits", "value"};
    const std::vector<MapLocation> words = WordsOf(location, values.size());
    for (std::size_t i = 0; i < words.size(); ++i) {
        for (const auto& series : words[i].member->fields) {
            for (std::size_t j = 0; j < series.elements.size(); ++j) {
                const Field& field = series.elements[j];
                answer.rows.push_back({words[i].path, Hex{words[i].address()}, Hex{values[i]},
                                       series.name + IndexOf(series.repeats(), j), BitsOf(field),
                                       Hex{FieldOfWord(values[i], field.mask, field.shift)}});
            }
        }
    }
    return answer;
}

Answer Show(const Request& request) {
    const Map map = OpenMap(request.design, nullptr);
    const auto location = ResolveOperand(map, request.operands[0]);
    const auto* group = std::get_if<GroupLocation>(&location);
    return group != nullptr ? DescribeGroup(request.design, *group)
                            : DescribeWord(request.design, std::get<MapLocation>(location), {});
}

Answer Decode(const Request& request) {
    const Map map = OpenMap(request.design, nullptr);
    const auto location = ResolveOperand(map, request.operands[0]);
    std::vector<std::uint32_t> values;
    for (std::size_t i = 1; i < request.operands.size(); ++i) {
        values.push_back(static_cast<std::uint32_t>(NumberOf(request.operands[i], UINT32_MAX)));
    }
    const auto* group = std::get_if<GroupLocation>(&location);
    const std::size_t words = group == nullptr ? 1 : WordsOf(*group, values.size()).size();
    if (values.size() > words) {
        throw Failure(EXIT_WRONG_USAGE, request.operands[0] + ": too many values; give at most " +
                                            std::to_string(words));
    }
    return group != nullptr
               ? DescribeValues(request.design, *group, values)
               : DescribeWord(request.design, std::get<MapLocation>(location), values[0]);
}

}  // namespace regs
