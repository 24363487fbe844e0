#include "companions/registers/velnor_regs/path.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <set>
#include <sstream>
#include <system_error>

#include "companions/commandline/nearest.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

struct PathStep {
    std::string name;
    std::vector<std::size_t> indices;
};

constexpr std::size_t MOST_STEPS = 4;

/** Reads the indices of a step from its first bracket on. False if they are malformed. */
bool ReadIndices(const char* at, const char* end, std::vector<std::size_t>& indices) {
    while (at != end) {
        std::size_t index = 0;
        const auto [stop, error] = std::from_chars(at + 1, end, index);
        if (*at != '[' || error != std::errc() || stop == end || *stop != ']') {
            return false;
        }
        indices.push_back(index);
        at = stop + 1;
    }
    return true;
}

bool ReadStep(const std::string& part, PathStep& step) {
    const auto bracket = std::find(part.begin(), part.end(), '[');
    step.name.assign(part.begin(), bracket);
    const bool isName = std::all_of(step.name.begin(), step.name.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_';
    });
    return !step.name.empty() && isName &&
           ReadIndices(part.data() + step.name.size(), part.data() + part.size(), step.indices);
}

std::vector<PathStep> StepsOf(const std::string& text) {
    std::vector<PathStep> steps;
    std::istringstream in(text + ".");
    bool good = true;
    for (std::string part; good && std::getline(in, part, '.');) {
        steps.emplace_back();
        good = ReadStep(part, steps.back());
    }
    if (!good || steps.size() > MOST_STEPS) {
        throw Failure(
            EXIT_WRONG_USAGE,
            "\"" + text + "\" is not a path; write it as in sbuf.chip_misc[0].R_debug.value");
    }
    return steps;
}

/** Every path of the map without its indices: domains, groups, members and fields. */
std::vector<std::string> AllNames(const Map& map) {
    std::set<std::string> names;
    for (const Domain& domain : map.domains) {
        names.insert(domain.name);
        for (const auto& group : domain.groups) {
            const std::string groupPath = domain.name + "." + group.name;
            names.insert(groupPath);
            for (const auto& member : group.elements[0].members) {
                const std::string memberPath = groupPath + "." + member.name;
                names.insert(memberPath);
                for (const auto& field : member.elements[0].fields) {
                    names.insert(memberPath + "." + field.name);
                }
            }
        }
    }
    return {names.begin(), names.end()};
}

/** Follows a path step by step, and builds it in the code's notation. */
class Walker {
  public:
    Walker(const Map& map, const std::string& text) : i_map(map), i_steps(StepsOf(text)) {}

    std::variant<MapLocation, GroupLocation> follow() {
        const Domain& domain = named(i_map.domains);
        if (!current().indices.empty()) {
            throw Failure(EXIT_FINDING, i_path + " is a domain and takes no index");
        }
        const auto& groups = named(next(domain.groups));
        const Group& group = element(groups, true);
        if (i_step + 1 == i_steps.size()) {
            return GroupLocation{i_path, &group, &groups.said};
        }
        return word(named(next(group.members)), groups.said);
    }

    [[noreturn]] static void refuseToEnd(const std::string& path, const std::string& next) {
        throw Failure(EXIT_FINDING, path + (next.empty() ? " is an empty group; choose another path"
                                                         : " is not a word; continue as in " +
                                                               path + "." + next));
    }

  private:
    PathStep& current() { return i_steps[i_step]; }

    MapLocation word(const Series<Member>& members, const Said& group) {
        const Member& member = element(members, members.repeats());
        MapLocation location{{}, &member, {}, nullptr, nullptr, &group, &members.said};
        takeWord(member, location.word);
        if (i_step + 1 < i_steps.size()) {
            const auto& fields = named(next(member.fields));
            location.field = &element(fields, fields.repeats());
            location.series = &fields;
        }
        location.path = i_path;
        return location;
    }

    template <class List>
    const List& next(const List& list) {
        if (++i_step == i_steps.size()) {
            refuseToEnd(i_path, list.front().name);
        }
        i_path += ".";
        return list;
    }

    template <class List>
    const typename List::value_type& named(const List& list) {
        const auto found = std::find_if(list.begin(), list.end(), [this](const auto& one) {
            return one.name == current().name;
        });
        if (found == list.end()) {
            refuse();
        }
        i_path += found->name;
        return *found;
    }

    [[noreturn]] void refuse() const {
        std::string written;
        for (const PathStep& step : i_steps) {
            written += (written.empty() ? "" : ".") + step.name;
        }
        throw Failure(EXIT_FINDING, "there is no " + written +
                                        commandline::SuggestionFor(written, AllNames(i_map)));
    }

    /**
     * Takes the step's first index. The only index of a memory that doesn't repeat is its word, and
     * is left.
     */
    template <class Element>
    const Element& element(const Series<Element>& series, bool shown) {
        std::vector<std::size_t>& indices = current().indices;
        std::size_t index = 0;
        if (series.repeats() || !(indices.empty() || isWord(series.elements[0]))) {
            index = takeIndex(series.elements.size());
        }
        i_path += IndexOf(shown, index);
        const bool mayHaveWord = std::is_same_v<Element, Member>;
        if (!mayHaveWord && !indices.empty()) {
            throw Failure(EXIT_FINDING, i_path + " takes one index");
        }
        return series.elements[index];
    }

    std::size_t takeIndex(std::size_t size) {
        std::vector<std::size_t>& indices = current().indices;
        if (indices.empty() || indices[0] >= size) {
            throw Failure(EXIT_FINDING, i_path + (size == 1 ? " has only [0]"
                                                            : " takes one of [0] to [" +
                                                                  std::to_string(size - 1) + "]"));
        }
        const std::size_t index = indices[0];
        indices.erase(indices.begin());
        return index;
    }

    template <class Element>
    bool isWord(const Element& object) {
        if constexpr (std::is_same_v<Element, Member>) {
            return object.isMemory() && current().indices.size() == 1;
        }
        return false;
    }

    void takeWord(const Member& member, std::optional<std::size_t>& word) {
        if (current().indices.empty()) {
            return;
        }
        if (!member.isMemory() || current().indices.size() > 1) {
            throw Failure(EXIT_FINDING, i_path + " takes fewer indices");
        }
        word = takeIndex(member.words);
        i_path += IndexOf(true, *word);
    }

    const Map& i_map;
    std::vector<PathStep> i_steps;
    std::size_t i_step = 0;
    std::string i_path;
};

/** The objects nearest to an address that belongs to none. */
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

MapLocation ResolvePath(const Map& map, const std::string& text) {
    const auto location = Walker(map, text).follow();
    if (const auto* group = std::get_if<GroupLocation>(&location)) {
        const auto& members = group->group->members;
        Walker::refuseToEnd(group->path, members.empty() ? "" : members[0].name);
    }
    return std::get<MapLocation>(location);
}

std::variant<MapLocation, GroupLocation> ResolveOperand(const Map& map, const std::string& text) {
    if (!text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) != 0) {
        return ResolvePath(map, PathsAt(map, WordAddress(text)).front());
    }
    return Walker(map, text).follow();
}

std::vector<MapLocation> WordsOf(const GroupLocation& location, std::size_t most) {
    std::vector<MapLocation> words;
    for (const auto& series : location.group->members) {
        for (std::size_t i = 0; i < series.elements.size(); ++i) {
            const Member& member = series.elements[i];
            const std::string path =
                location.path + "." + series.name + IndexOf(series.repeats(), i);
            for (std::size_t word = 0; word < member.words && words.size() < most; ++word) {
                words.push_back({path + IndexOf(member.isMemory(), word),
                                 &member,
                                 {},
                                 nullptr,
                                 nullptr,
                                 location.said,
                                 &series.said});
                if (member.isMemory()) {
                    words.back().word = word;
                }
            }
        }
    }
    return words;
}

std::uint64_t WordAddress(const std::string& text) {
    return NumberOf(text, UINT32_MAX) & ~std::uint64_t{3};
}

std::vector<std::string> PathsAt(const Map& map, std::uint64_t address) {
    std::vector<std::string> paths;
    Neighbours neighbours{address};
    ForEachMember(map, [&](const std::string& path, const Member& member) {
        neighbours.see(path, member);
        if (address >= member.address && (address - member.address) / 4 < member.words) {
            paths.push_back(path + IndexOf(member.isMemory(), (address - member.address) / 4));
        }
    });
    if (paths.empty()) {
        throw Failure(EXIT_FINDING, "nothing is at " + HexText(address) + "; below is " +
                                        neighbours.below + ", above is " + neighbours.above);
    }
    return paths;
}

}  // namespace regs
