#include <algorithm>
#include <cctype>
#include <functional>

#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/map.h"
#include "companions/registers/velnor_regs/nearest.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

const std::vector<std::string> COLUMNS = {"kind", "path", "address", "bits"};

const char* KindOf(const Member& member) {
    return member.isMemory() ? "memory" : "register";
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/** Collects what has the text in its own name, or at the end of its path up to there. */
class Finder {
  public:
    explicit Finder(const std::string& text) : i_text(Lower(text)) {}

    void look(const Domain& domain) {
        for (const auto& group : domain.groups) {
            const Group& first = group.elements[0];
            const Path path = Path{domain.name, domain.name}.with(group.name, RangeOf(group));
            note(path, {"group", path.shown, Hex{first.address}, {}});
            for (const auto& member : first.members) {
                look(path.with(member.name, RangeOf(member)), member.elements[0]);
            }
        }
    }

    std::vector<Row> rows;
    /** Every path without its indices. */
    std::vector<std::string> names;

  private:
    struct Path {
        std::string name;
        std::string shown;
        Path with(const std::string& part, const std::string& range) const {
            return {name + "." + part, shown + "." + part + range};
        }
    };

    void look(const Path& path, const Member& member) {
        note(path, {KindOf(member), path.shown, Hex{member.address}, {}});
        for (const auto& field : member.fields) {
            const Path fieldPath = path.with(field.name, RangeOf(field));
            note(fieldPath,
                 {"field", fieldPath.shown, Hex{member.address}, BitsOf(field.elements[0])});
        }
    }
    void note(const Path& path, const Row& row) {
        const std::size_t found = Lower(path.name).rfind(i_text);
        if (found != std::string::npos && found + i_text.size() > path.name.rfind('.') + 1) {
            rows.push_back(row);
        }
        names.push_back(path.name);
    }

    const std::string i_text;
};

using MemberCaller = std::function<void(const std::string& path, const Member& member)>;

/** Calls for each register and memory object, with its path. */
void ForEachMember(const Map& map, const MemberCaller& call) {
    for (const Domain& domain : map.domains) {
        for (const auto& group : domain.groups) {
            for (std::size_t i = 0; i < group.elements.size(); ++i) {
                const std::string path = domain.name + "." + group.name + IndexOf(true, i) + ".";
                for (const auto& member : group.elements[i].members) {
                    for (std::size_t j = 0; j < member.elements.size(); ++j) {
                        call(path + member.name + IndexOf(member.repeats(), j), member.elements[j]);
                    }
                }
            }
        }
    }
}

void AddFields(const std::string& path, const Member& member, std::uint64_t address,
               std::vector<Row>& rows) {
    for (const auto& field : member.fields) {
        for (std::size_t i = 0; i < field.elements.size(); ++i) {
            rows.push_back({"field", path + "." + field.name + IndexOf(field.repeats(), i),
                            Hex{address}, BitsOf(field.elements[i])});
        }
    }
}

/** Where the search went past the last thing below the address and the first one above. */
struct Neighbours {
    std::uint64_t address;
    std::string below = "nothing";
    std::string above = "nothing";
    std::uint64_t belowAt = 0;
    std::uint64_t aboveAt = UINT64_MAX;

    void see(const std::string& path, const Member& member) {
        const std::uint64_t last = member.address + 4 * (member.words - 1);
        if (last < address && last >= belowAt) {
            belowAt = last;
            below = path;
        }
        if (member.address > address && member.address < aboveAt) {
            aboveAt = member.address;
            above = path;
        }
    }
};

}  // namespace

Answer Find(const Request& request) {
    const std::string& text = request.operands[0];
    const Map map = OpenMap(request.design, nullptr);
    Finder finder(text);
    for (const Domain& domain : map.domains) {
        finder.look(domain);
    }
    if (finder.rows.empty()) {
        throw Failure(EXIT_FINDING, "no name in " + request.design + " has \"" + text + "\"; " +
                                        NearestOf(text, finder.names));
    }
    Answer answer;
    answer.facts = {{"design", request.design}};
    answer.subject = "found";
    answer.columns = COLUMNS;
    answer.rows = std::move(finder.rows);
    return answer;
}

Answer At(const Request& request) {
    // Any byte of a word stands for the word.
    const std::uint64_t address = NumberOf(request.operands[0], UINT32_MAX) & ~std::uint64_t{3};
    const Map map = OpenMap(request.design, nullptr);
    Answer answer;
    answer.facts = {{"design", request.design}, {"address", Hex{address}}};
    answer.subject = "found";
    answer.columns = COLUMNS;
    Neighbours neighbours{address};
    ForEachMember(map, [&](const std::string& path, const Member& member) {
        neighbours.see(path, member);
        if (address >= member.address && (address - member.address) / 4 < member.words) {
            const std::size_t word = (address - member.address) / 4;
            const std::string wordPath = path + IndexOf(member.isMemory(), word);
            answer.rows.push_back({KindOf(member), wordPath, Hex{address}, {}});
            AddFields(wordPath, member, address, answer.rows);
        }
    });
    if (answer.rows.empty()) {
        throw Failure(EXIT_FINDING, "nothing of " + request.design + " lies at " +
                                        request.operands[0] + "; below is " + neighbours.below +
                                        ", above " + neighbours.above);
    }
    return answer;
}

}  // namespace regs
