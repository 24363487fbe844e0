#include "src/card/velnor/hwmap/generator/parser.h"

#include <functional>
#include <sstream>

namespace hwmaptables {

namespace {

/** Far above any count in the hardware: a larger one is a typing error. */
constexpr std::uint32_t MAX_COUNT = 256;

bool IsDigits(const std::string& text, const char* digits) {
    return !text.empty() && text.find_first_not_of(digits) == std::string::npos;
}

/** Decimal without leading zeroes, or 0x; anything that could be read in two ways is refused. */
bool ParseNumber(const std::string& text, std::uint32_t& number) {
    const bool isHex = text.compare(0, 2, "0x") == 0;
    const std::string digits = isHex ? text.substr(2) : text;
    if (!IsDigits(digits, isHex ? "0123456789abcdefABCDEF" : "0123456789")) {
        return false;
    }
    if (digits.size() > 10 || (!isHex && digits.size() > 1 && digits[0] == '0')) {
        return false;
    }
    const std::uint64_t value = std::stoull(digits, nullptr, isHex ? 16 : 10);
    number = static_cast<std::uint32_t>(value);
    return value == number;
}

/** The words of one row, read from left to right. A word that can't be read becomes a finding. */
class Row {
  public:
    Row(Origin origin, const std::string& text, Findings& findings)
        : i_origin(std::move(origin)),
          i_findings(findings),
          i_text(text.substr(0, text.find('#'))) {
        std::string spaced;
        for (const char c : i_text) {
            spaced += c == ',' ? std::string(" , ") : std::string(1, c);
        }
        std::istringstream stream(spaced);
        for (std::string word; stream >> word;) {
            i_words.push_back(word);
        }
    }

    const Origin& origin() const { return i_origin; }
    bool isBlank() const { return i_words.empty(); }
    bool atEnd() const { return i_next == i_words.size(); }
    std::string peek() const { return atEnd() ? "" : i_words[i_next]; }
    std::string take() { return atEnd() ? "" : i_words[i_next++]; }

    bool takeWord(const char* word) {
        const bool isNext = peek() == word;
        i_next += isNext ? 1 : 0;
        return isNext;
    }

    bool takeName(const char* what, std::string& name) {
        name = take();
        return !name.empty() || refuse(what, name);
    }

    bool takeNumber(const char* what, std::uint32_t& number) {
        const std::string word = take();
        return ParseNumber(word, number) || refuse(what, word);
    }

    /** xN+S, if present. */
    bool takeRepeat(TableRepeat& repeat) {
        const std::string word = peek();
        const std::size_t plus = word.find('+');
        if (word.compare(0, 1, "x") != 0 || plus == std::string::npos) {
            return true;
        }
        take();
        if (!ParseNumber(word.substr(1, plus - 1), repeat.count) ||
            !ParseNumber(word.substr(plus + 1), repeat.step)) {
            return refuse("a repeat, xN+STEP", word);
        }
        return isCount(repeat.count);
    }

    /** Checks a count of instances or elements: a single one is written without a count. */
    bool isCount(std::uint32_t count) {
        return (count >= 2 && count <= MAX_COUNT) ||
               refuse(("a count from 2 to " + std::to_string(MAX_COUNT)).c_str(),
                      std::to_string(count));
    }

    /** Everything after the row's first word, as it was written. */
    std::string takeRest() {
        i_next = i_words.size();
        const std::size_t start = i_text.find(i_words[0]) + i_words[0].size();
        const std::size_t first = i_text.find_first_not_of(" \t", start);
        const std::size_t last = i_text.find_last_not_of(" \t\r");
        return first == std::string::npos ? "" : i_text.substr(first, last + 1 - first);
    }

    bool takeEnd() { return atEnd() || refuse("the end of the row", take()); }

    /** Always false. */
    bool refuse(const std::string& expected, const std::string& found) {
        i_findings.add(i_origin, "expected " + expected + ", found " +
                                     (found.empty() ? "the end of the row" : "'" + found + "'"));
        return false;
    }

  private:
    Origin i_origin;
    Findings& i_findings;
    const std::string i_text;
    std::vector<std::string> i_words;
    std::size_t i_next = 0;
};

void ForEachRow(const TableFile& file, Findings& findings,
                const std::function<void(Row& row)>& parse) {
    std::istringstream stream(file.text);
    Origin origin{file.name, 0};
    for (std::string line; std::getline(stream, line);) {
        ++origin.line;
        Row row(origin, line, findings);
        if (!row.isBlank()) {
            parse(row);
        }
    }
}

/** GROUP FIRST [COUNT STRIDE] [overlap] [inline] */
bool ParsePlacementRow(Row& row, Placement& placement) {
    placement.origin = row.origin();
    placement.group = row.take();
    if (!row.takeNumber("the first offset in bytes", placement.first)) {
        return false;
    }
    std::uint32_t count = 0;
    if (ParseNumber(row.peek(), count)) {
        row.take();
        placement.count = count;
        if (!row.isCount(count) || !row.takeNumber("the stride in bytes", placement.stride)) {
            return false;
        }
    }
    placement.mayOverlap = row.takeWord("overlap");
    placement.isInline = row.takeWord("inline");
    return row.takeEnd();
}

void ParseDesigns(Row& row, TableMap& map) {
    std::string name;
    do {
        if (!row.takeName("the name of a design", name)) {
            return;
        }
        map.designs.push_back(name);
    } while (!row.atEnd());
}

void ParseDomain(Row& row, TableMap& map) {
    TableDomain domain;
    domain.origin = row.origin();
    if (row.takeName("the name of a domain", domain.name) &&
        row.takeNumber("the base in bytes", domain.base) && row.takeEnd()) {
        map.domains.push_back(domain);
    }
}

void ParseRowOfMap(Row& row, TableMap& map) {
    if (row.takeWord("map")) {
        map.origin = row.origin();
        if (row.takeName("the name of a map", map.name)) {
            row.takeEnd();
        }
    } else if (row.takeWord("designs")) {
        ParseDesigns(row, map);
    } else if (row.takeWord("domain")) {
        ParseDomain(row, map);
    } else if (map.domains.empty()) {
        row.refuse("map, designs or domain", row.peek());
    } else if (Placement placement; ParsePlacementRow(row, placement)) {
        map.domains.back().placements.push_back(placement);
    }
}

/** ro, wo or rc, then =RESET; each may be missing. */
bool ParseMeaning(Row& row, TableField& field) {
    for (const auto& [word, access] :
         {std::pair("ro", e_Access_ReadOnly), std::pair("wo", e_Access_WriteOnly),
          std::pair("rc", e_Access_ReadClears)}) {
        if (row.takeWord(word)) {
            field.access = access;
            break;
        }
    }
    const std::string word = row.peek();
    if (word.compare(0, 1, "=") != 0) {
        return true;
    }
    row.take();
    std::uint32_t reset = 0;
    if (!ParseNumber(word.substr(1), reset)) {
        return row.refuse("a value after reset, =NUMBER", word);
    }
    field.reset = reset;
    return true;
}

/** name[hi:lo] or name[bit], then xN+S if it repeats, then the access and the reset value. */
bool ParseField(Row& row, TableField& field) {
    const std::string word = row.take();
    const std::size_t open = word.find('[');
    const std::size_t close = word.find(']');
    if (open == std::string::npos || close != word.size() - 1 || open > close) {
        return row.refuse("a field, name[hi:lo] or name[bit]", word);
    }
    field.name = word.substr(0, open);
    const std::string bits = word.substr(open + 1, close - open - 1);
    const std::size_t colon = bits.find(':');
    const std::string low = colon == std::string::npos ? bits : bits.substr(colon + 1);
    if (!ParseNumber(bits.substr(0, colon), field.high) || !ParseNumber(low, field.low)) {
        return row.refuse("bits of a field, [hi:lo] or [bit]", word);
    }
    return row.takeRepeat(field.repeat) && ParseMeaning(row, field);
}

bool ParseFields(Row& row, std::vector<TableField>& fields) {
    do {
        TableField field;
        if (!ParseField(row, field)) {
            return false;
        }
        fields.push_back(field);
    } while (row.takeWord(","));
    return row.takeEnd();
}

/** The size of a memory; a register has none. */
bool ParseWords(Row& row, TableMember& member) {
    if (member.isRegister()) {
        return true;
    }
    if (!row.takeNumber("the words of a memory (a register's name begins with R_)", member.words)) {
        return false;
    }
    if (!row.takeWord("words")) {
        return row.refuse("'words' after the size of a memory", row.peek());
    }
    return member.words > 0 || row.refuse("a size of one word or more", "0");
}

/** OFFSET MEMBER [xN+STEP] [N words] FIELD, FIELD... */
bool ParseMember(Row& row, TableMember& member) {
    member.origin = row.origin();
    return row.takeNumber("the offset of a member in bytes", member.offset) &&
           row.takeName("the name of a member", member.name) && row.takeRepeat(member.repeat) &&
           ParseWords(row, member) && ParseFields(row, member.fields);
}

/** NAME [empty] [for MAP] */
bool ParseBody(Row& row, Body& body) {
    body.origin = row.origin();
    if (!row.takeName("the name of a group", body.group)) {
        return false;
    }
    body.isEmpty = row.takeWord("empty");
    if (row.takeWord("for") && !row.takeName("the name of a map", body.map)) {
        return false;
    }
    return row.takeEnd();
}

/** about TEXT, for the group or the member above it. */
void ParseAbout(Row& row, Body& body) {
    std::string& about = body.members.empty() ? body.about : body.members.back().about;
    const std::string text = row.takeRest();
    if (text.empty()) {
        row.refuse("a text", "");
        return;
    }
    about += (about.empty() ? "" : " ") + text;
}

}  // namespace

void ParsePlacement(const TableFile& file, Tables& tables, Findings& findings) {
    TableMap map;
    map.origin = {file.name, 1};
    ForEachRow(file, findings, [&](Row& row) { ParseRowOfMap(row, map); });
    if (map.name.empty() || map.designs.empty()) {
        findings.add(map.origin, "no map or no designs are named");
    }
    tables.maps.push_back(map);
}

void ParseCatalogue(const TableFile& file, Tables& tables, Findings& findings) {
    const std::size_t before = tables.bodies.size();
    ForEachRow(file, findings, [&](Row& row) {
        if (row.takeWord("group")) {
            if (Body body; ParseBody(row, body)) {
                tables.bodies.push_back(body);
            }
        } else if (tables.bodies.size() == before) {
            row.refuse("group", row.peek());
        } else if (row.takeWord("about")) {
            ParseAbout(row, tables.bodies.back());
        } else if (TableMember member; ParseMember(row, member)) {
            tables.bodies.back().members.push_back(member);
        }
    });
}

}  // namespace hwmaptables
