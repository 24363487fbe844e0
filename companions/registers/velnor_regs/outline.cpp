#include "companions/registers/velnor_regs/outline.h"

#include <algorithm>
#include <functional>

#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

template <class Element, class Position>
Repeat RepeatOf(const Series<Element>& series, Position place) {
    if (!series.repeats()) {
        return {1, 0};
    }
    return {series.elements.size(), place(series.elements[1]) - place(series.elements[0])};
}

FieldOutline OutlineOf(const Series<Field>& series) {
    const Field& first = series.elements[0];
    return {series.name, series.said, first.mask, first.shift,
            RepeatOf(series, [](const Field& field) { return field.shift; })};
}

MemberOutline OutlineOf(const Series<Member>& series, std::uintptr_t groupAddress) {
    const Member& first = series.elements[0];
    MemberOutline outline{series.name,
                          series.said,
                          first.isMemory(),
                          first.address - groupAddress,
                          first.words,
                          RepeatOf(series, [](const Member& member) { return member.address; }),
                          {}};
    for (const auto& field : first.fields) {
        outline.fields.push_back(OutlineOf(field));
    }
    return outline;
}

std::string RepeatText(const Repeat& repeat, const std::string& step) {
    return repeat.count == 1 ? "" : " x" + std::to_string(repeat.count) + "+" + step;
}

/** A named object, its description and its children. */
struct Node {
    std::string name;
    std::string text;
    std::vector<Node> children;
};

Node NodeOf(const FieldOutline& field) {
    const Field bits{field.mask, field.shift, nullptr, nullptr};
    return {field.name,
            "bits " + BitsOf(bits) + RepeatText(field.repeat, std::to_string(field.repeat.step)),
            {}};
}

Node NodeOf(const MemberOutline& member) {
    Node node{member.name,
              (member.isMemory ? std::to_string(member.words) + " words at " : "register at ") +
                  HexText(member.offset) + RepeatText(member.repeat, HexText(member.repeat.step)),
              {}};
    for (const FieldOutline& field : member.fields) {
        node.children.push_back(NodeOf(field));
    }
    return node;
}

Node NodeOf(const GroupOutline& group) {
    Node node{group.domain + "." + group.name,
              HexText(group.address) + RepeatText(group.repeat, HexText(group.repeat.step)),
              {}};
    for (const MemberOutline& member : group.members) {
        node.children.push_back(NodeOf(member));
    }
    return node;
}

using Nodes = std::vector<const Node*>;

const Node* ChildOf(const Node* parent, const std::string& name) {
    if (parent == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(parent->children.begin(), parent->children.end(),
                                    [&](const Node& child) { return child.name == name; });
    return found == parent->children.end() ? nullptr : &*found;
}

/** The names of all parents' children; a name that one lacks keeps its place among the others'. */
std::vector<std::string> NamesOf(const Nodes& parents) {
    std::vector<std::string> names;
    for (const Node* parent : parents) {
        auto next = names.begin();
        for (const Node& child : parent == nullptr ? std::vector<Node>() : parent->children) {
            const auto found = std::find(names.begin(), names.end(), child.name);
            next = found != names.end() ? found : names.insert(next, child.name);
            ++next;
        }
    }
    return names;
}

/** Compares the children of the parents that aren't null. */
void Compare(const Nodes& parents, const std::string& path, std::vector<Difference>& differences) {
    for (const std::string& name : NamesOf(parents)) {
        Nodes children;
        Difference row{path + name, {}};
        std::vector<std::string> known;
        for (const Node* parent : parents) {
            const Node* child = ChildOf(parent, name);
            children.push_back(child);
            row.values.push_back(parent == nullptr  ? ""
                                 : child == nullptr ? "absent"
                                                    : child->text);
            if (parent != nullptr) {
                known.push_back(row.values.back());
            }
        }
        if (std::adjacent_find(known.begin(), known.end(), std::not_equal_to<>()) != known.end()) {
            differences.push_back(row);
        }
        Compare(children, path + name + ".", differences);
    }
}

}  // namespace

std::vector<GroupOutline> OutlineOf(const Map& map) {
    std::vector<GroupOutline> outline;
    for (const Domain& domain : map.domains) {
        for (const auto& series : domain.groups) {
            const Group& first = series.elements[0];
            outline.push_back({domain.name,
                               series.name,
                               series.said,
                               first.address,
                               RepeatOf(series, [](const Group& group) { return group.address; }),
                               {}});
            for (const auto& member : first.members) {
                outline.back().members.push_back(OutlineOf(member, first.address));
            }
        }
    }
    return outline;
}

MapCounts CountsOf(const std::vector<GroupOutline>& map) {
    MapCounts counts;
    counts.groupTypes = map.size();
    for (const GroupOutline& group : map) {
        counts.groups += group.repeat.count;
        for (const MemberOutline& member : group.members) {
            const std::uint64_t objects = group.repeat.count * member.repeat.count;
            (member.isMemory ? counts.memories : counts.registers) += objects;
            for (const FieldOutline& field : member.fields) {
                counts.fields += objects * field.repeat.count;
            }
        }
    }
    return counts;
}

std::vector<Difference> DifferencesOf(const std::vector<std::vector<GroupOutline>>& maps) {
    std::vector<Node> roots;
    for (const auto& map : maps) {
        roots.emplace_back();
        for (const GroupOutline& group : map) {
            roots.back().children.push_back(NodeOf(group));
        }
    }
    Nodes parents;
    std::transform(roots.begin(), roots.end(), std::back_inserter(parents),
                   [](const Node& root) { return &root; });
    std::vector<Difference> differences;
    Compare(parents, "", differences);
    return differences;
}

}  // namespace regs
