#include <algorithm>
#include <cctype>

#include "companions/commandline/nearest.h"
#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/map.h"
#include "companions/registers/velnor_regs/path.h"

namespace regs {

namespace {

const std::vector<std::string> FOUND_COLUMNS = {"kind", "path", "address", "bits"};

/** How many words of a memory are listed. Larger memories are outside the mapped space. */
constexpr std::size_t MOST_WORDS_LISTED = 1024;

const char* KindOf(const Member& member) {
    return member.isMemory() ? "memory" : "register";
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/** Collects objects with the text in their name, description or at the end of their path. */
class Finder {
  public:
    explicit Finder(const std::string& text) : i_text(Lower(text)) {}

    void search(const Domain& domain) {
        for (const auto& group : domain.groups) {
            const Group& first = group.elements[0];
            const Path path = Path{domain.name, domain.name}.with(group.name, RangeOf(group));
            note(path, {"group", path.shown, Hex{first.address}, {}}, group.said.about);
            for (const auto& member : first.members) {
                search(path.with(member.name, RangeOf(member)), member);
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

    void search(const Path& path, const Series<Member>& series) {
        const Member& member = series.elements[0];
        note(path, {KindOf(member), path.shown, Hex{member.address}, {}}, series.said.about);
        for (const auto& field : member.fields) {
            const Path fieldPath = path.with(field.name, RangeOf(field));
            note(fieldPath,
                 {"field", fieldPath.shown, Hex{member.address}, BitsOf(field.elements[0])}, "");
        }
    }
    void note(const Path& path, const Row& row, const std::string& about) {
        const std::size_t found = Lower(path.name).rfind(i_text);
        const bool isNamed =
            found != std::string::npos && found + i_text.size() > path.name.rfind('.') + 1;
        if (isNamed || Lower(about).find(i_text) != std::string::npos) {
            rows.push_back(row);
        }
        names.push_back(path.name);
    }

    const std::string i_text;
};

void AddFieldRows(const std::string& path, const Member& member, std::uint64_t address,
                  std::vector<Row>& rows) {
    for (const auto& field : member.fields) {
        for (std::size_t i = 0; i < field.elements.size(); ++i) {
            rows.push_back({"field", path + "." + field.name + IndexOf(field.repeats(), i),
                            Hex{address}, BitsOf(field.elements[i])});
        }
    }
}

void AddElements(const std::string& name, std::size_t count, std::vector<std::string>& paths) {
    for (std::size_t i = 0; i < count; ++i) {
        paths.push_back(name + IndexOf(true, i));
    }
}

void AddFieldPaths(const std::string& path, const Member& member, std::vector<std::string>& paths) {
    for (const auto& field : member.fields) {
        for (std::size_t i = 0; i < field.elements.size(); ++i) {
            paths.push_back(path + "." + field.name + IndexOf(field.repeats(), i));
        }
    }
}

/** A memory's words are listed once its bracket is typed, and fields once the name is complete. */
void AddMemberPaths(const std::string& group, const Series<Member>& series,
                    const std::string& beginning, std::vector<std::string>& paths) {
    for (std::size_t i = 0; i < series.elements.size(); ++i) {
        const Member& member = series.elements[i];
        const std::string path = group + "." + series.name + IndexOf(series.repeats(), i);
        paths.push_back(path);
        if (member.isMemory() && beginning.rfind(path + "[", 0) == 0) {
            AddElements(path, std::min(member.words, MOST_WORDS_LISTED), paths);
        }
        if (beginning == path) {
            AddFieldPaths(path, member, paths);
        }
    }
}

void AddGroupPaths(const Domain& domain, std::vector<std::string>& paths) {
    for (const auto& group : domain.groups) {
        for (std::size_t i = 0; i < group.elements.size(); ++i) {
            paths.push_back(domain.name + "." + group.name + IndexOf(group.repeats(), i) +
                            (group.elements[i].members.empty() ? "" : "."));
        }
    }
}

/** Candidates for continuing the beginning, including some that don't match it. */
std::vector<std::string> Continuations(const Map& map, const std::string& beginning) {
    std::vector<std::string> paths;
    const std::size_t dot = beginning.rfind('.');
    const std::string head = beginning.substr(0, dot == std::string::npos ? 0 : dot);
    for (const Domain& domain : map.domains) {
        if (head.empty()) {
            paths.push_back(domain.name + ".");
        } else if (domain.name == head) {
            AddGroupPaths(domain, paths);
        }
    }
    if (!paths.empty()) {
        return paths;
    }
    const auto location = ResolveOperand(map, head);
    if (const auto* word = std::get_if<MapLocation>(&location)) {
        AddFieldPaths(head, *word->member, paths);
        return paths;
    }
    for (const auto& series : std::get<GroupLocation>(location).group->members) {
        AddMemberPaths(head, series, beginning, paths);
    }
    return paths;
}

}  // namespace

Answer Find(const Request& request) {
    const std::string& text = request.operands[0];
    const Map map = OpenMap(request.design, nullptr);
    Finder finder(text);
    for (const Domain& domain : map.domains) {
        finder.search(domain);
    }
    if (finder.rows.empty()) {
        throw Failure(EXIT_FINDING, "no name or description in " + request.design + " contains \"" +
                                        text + "\"" +
                                        commandline::SuggestionFor(text, finder.names));
    }
    Answer answer;
    answer.facts = {{"design", request.design}};
    answer.subject = "found";
    answer.columns = FOUND_COLUMNS;
    answer.rows = std::move(finder.rows);
    return answer;
}

Answer At(const Request& request) {
    const std::uint64_t address = WordAddress(request.operands[0]);
    const Map map = OpenMap(request.design, nullptr);
    Answer answer;
    answer.facts = {{"design", request.design}, {"address", Hex{address}}};
    answer.subject = "found";
    answer.columns = FOUND_COLUMNS;
    for (const std::string& path : PathsAt(map, address)) {
        const Member& member = *ResolvePath(map, path).member;
        answer.rows.push_back({KindOf(member), path, Hex{address}, {}});
        AddFieldRows(path, member, address, answer.rows);
    }
    return answer;
}

Answer Paths(const Request& request) {
    const Map map = OpenMap(request.design, nullptr);
    const std::string beginning = request.operands.empty() ? "" : request.operands[0];
    Answer answer;
    answer.layout = e_Layout_Lines;
    answer.subject = "paths";
    answer.columns = {"path"};
    for (const std::string& path : Continuations(map, beginning)) {
        if (path.compare(0, beginning.size(), beginning) == 0) {
            answer.rows.push_back({path});
        }
    }
    return answer;
}

}  // namespace regs
