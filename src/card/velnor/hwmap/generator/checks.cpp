#include "src/card/velnor/hwmap/generator/checks.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

namespace hwmaptables {

namespace {

constexpr std::uint32_t WORD_BYTES = 4;
constexpr std::uint32_t WORD_BITS = 32;

/**
 * The hardware's maps have about two thousand. A few wrong rows could ask for more than memory
 * holds.
 */
constexpr std::uint64_t MAX_ELEMENTS = 65536;

/** Words of the language, and names that headers define as macros. */
const std::set<std::string> RESERVED_WORDS = {
    "alignas",       "alignof",     "and",       "and_eq",    "asm",          "assert",
    "auto",          "bitand",      "bitor",     "bool",      "break",        "case",
    "catch",         "char",        "char16_t",  "char32_t",  "char8_t",      "class",
    "co_await",      "co_return",   "co_yield",  "compl",     "concept",      "const",
    "const_cast",    "consteval",   "constexpr", "constinit", "continue",     "decltype",
    "default",       "delete",      "do",        "double",    "dynamic_cast", "else",
    "enum",          "errno",       "explicit",  "export",    "extern",       "false",
    "float",         "for",         "friend",    "goto",      "if",           "inline",
    "int",           "linux",       "long",      "mutable",   "namespace",    "new",
    "noexcept",      "not",         "not_eq",    "nullptr",   "operator",     "or",
    "or_eq",         "private",     "protected", "public",    "register",     "reinterpret_cast",
    "requires",      "return",      "short",     "signed",    "sizeof",       "static",
    "static_assert", "static_cast", "struct",    "switch",    "template",     "this",
    "thread_local",  "throw",       "true",      "try",       "typedef",      "typeid",
    "typename",      "union",       "unix",      "unsigned",  "using",        "virtual",
    "void",          "volatile",    "wchar_t",   "while",     "xor",          "xor_eq",
    "ASSERT",        "NULL",
};

/** Prefixes of generated classes and data members. */
constexpr std::array GENERATED_PREFIXES = {"i_",        "Design_", "Domain_", "Group_",
                                           "Register_", "Memory_", "Field_",  "MemField_"};

/** The members that the generated classes of each level have besides those from the tables. */
const std::set<std::string> MEMBERS_OF_DOMAIN = {"A"};
const std::set<std::string> MEMBERS_OF_GROUP = {"A", "NUM_INSTANCES", "absoluteAddress"};
const std::set<std::string> MEMBERS_OF_REGISTER = {"A",   "Register", "RegisterField",
                                                   "get", "set",      "absoluteAddress"};
const std::set<std::string> MEMBERS_OF_MEMORY = {
    "A", "Memory", "SingleMemoryField", "getraw", "setraw", "absoluteAddress", "sizeInWords"};

std::string Quoted(const std::string& name) {
    return "'" + name + "'";
}

std::string Hex(std::uint64_t number) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), digits[number % 16]);
        number /= 16;
    } while (number != 0);
    return "0x" + text;
}

bool IsIdentifier(const std::string& name) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
    });
}

/** The prefix of generated names that the name begins with; null if there is none. */
const char* GeneratedPrefixOf(const std::string& name) {
    const auto* found =
        std::find_if(GENERATED_PREFIXES.begin(), GENERATED_PREFIXES.end(),
                     [&](const char* prefix) { return name.rfind(prefix, 0) == 0; });
    return found == GENERATED_PREFIXES.end() ? nullptr : *found;
}

/** Adds at most one finding: the first reason why the generated classes can't have this name. */
void CheckName(const Origin& origin, const std::string& kind, const std::string& name,
               const std::set<std::string>& taken, Findings& findings) {
    const std::string subject = kind + " " + Quoted(name);
    if (!IsIdentifier(name) || name.find("__") != std::string::npos) {
        findings.add(origin, subject + " is not an identifier");
    } else if (RESERVED_WORDS.count(name) != 0) {
        findings.add(origin, subject + " is the C++ word " + Quoted(name));
    } else if (taken.count(name) != 0) {
        findings.add(origin, subject + " clashes with the member " + Quoted(name) +
                                 " of its generated class");
    } else if (const char* prefix = GeneratedPrefixOf(name)) {
        findings.add(origin, subject + " clashes with the generated names that begin with " +
                                 Quoted(prefix));
    }
}

/** Refuses a second use of a name. */
class UniqueNames {
  public:
    explicit UniqueNames(Findings& findings) : i_findings(findings) {}

    void add(const Origin& origin, const std::string& kind, const std::string& name) {
        const auto [first, isNew] = i_seen.emplace(name, origin);
        if (!isNew) {
            i_findings.add(origin, kind + " " + Quoted(name) + " is already defined at " +
                                       ToString(first->second));
        }
    }

  private:
    Findings& i_findings;
    std::map<std::string, Origin> i_seen;
};

// --- Fields of a member

std::string NameOf(const TableField& field, std::uint32_t element) {
    const std::string name = "field " + Quoted(field.name);
    return field.repeat.isArray() ? name + " element " + std::to_string(element) : name;
}

std::uint64_t HighestBit(const TableField& field) {
    return field.high + std::uint64_t{field.repeat.count - 1} * field.repeat.step;
}

bool CheckBits(const TableMember& member, const TableField& field, Findings& findings) {
    const std::string where = " of " + Quoted(member.name);
    if (field.high < field.low) {
        findings.add(member.origin, "field " + Quoted(field.name) + where + ": high bit " +
                                        std::to_string(field.high) + " is below low bit " +
                                        std::to_string(field.low));
        return false;
    }
    if (HighestBit(field) >= WORD_BITS) {
        findings.add(member.origin, NameOf(field, field.repeat.count - 1) + where +
                                        " reaches bit " + std::to_string(HighestBit(field)) +
                                        ", past bit 31");
        return false;
    }
    return true;
}

/** The element of a field that each bit of a word belongs to. */
struct BitOwner {
    const TableField* field = nullptr;
    std::uint32_t element = 0;
};
using BitOwners = std::array<BitOwner, WORD_BITS>;

void ClaimBits(const TableMember& member, const TableField& field, std::uint32_t element,
               BitOwners& owners, Findings& findings) {
    const std::uint32_t shift = element * field.repeat.step;
    for (std::uint32_t bit = field.low + shift; bit <= field.high + shift; ++bit) {
        const BitOwner& owner = owners[bit];
        if (owner.field != nullptr) {
            findings.add(member.origin, NameOf(field, element) + " overlaps " +
                                            NameOf(*owner.field, owner.element) + " in bit " +
                                            std::to_string(bit) + " of " + Quoted(member.name));
            return;
        }
        owners[bit] = {&field, element};
    }
}

void CheckFields(const TableMember& member, Findings& findings) {
    UniqueNames names(findings);
    BitOwners owners;
    for (const TableField& field : member.fields) {
        CheckName(member.origin, "field", field.name,
                  member.isRegister() ? MEMBERS_OF_REGISTER : MEMBERS_OF_MEMORY, findings);
        names.add(member.origin, "field", field.name);
        if (!CheckBits(member, field, findings)) {
            continue;
        }
        if (field.reset.value_or(0) > field.mask()) {
            findings.add(member.origin, "value after reset " + Hex(*field.reset) + " of field " +
                                            Quoted(field.name) + " of " + Quoted(member.name) +
                                            " is more than its bits hold");
        }
        for (std::uint32_t element = 0; element < field.repeat.count; ++element) {
            ClaimBits(member, field, element, owners, findings);
        }
    }
    if (!member.isRegister() && (member.fields.size() != 1 || member.fields[0].repeat.isArray())) {
        findings.add(member.origin, "memory " + Quoted(member.name) + " has more than one field");
    }
}

// --- Words of a group, and of a map

/** A run of words that belongs to one element of a member, in one instance of a group. */
struct Extent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    const Placement* placement = nullptr;
    std::uint32_t instance = 0;
    const TableMember* member = nullptr;
    std::uint32_t element = 0;
};

void AddExtents(const Body& body, Extent start, std::vector<Extent>& extents) {
    const std::uint64_t base = start.begin;
    for (const TableMember& member : body.members) {
        start.member = &member;
        for (start.element = 0; start.element < member.repeat.count; ++start.element) {
            start.begin = base + member.offset + std::uint64_t{start.element} * member.repeat.step;
            start.end = start.begin + std::uint64_t{member.words} * WORD_BYTES;
            extents.push_back(start);
        }
    }
}

/** Calls `report` with each extent that begins inside an earlier one, in the order of addresses. */
template <class Report>
void ForEachOverlap(std::vector<Extent> extents, const Report& report) {
    std::stable_sort(extents.begin(), extents.end(),
                     [](const Extent& a, const Extent& b) { return a.begin < b.begin; });
    const Extent* furthest = nullptr;
    for (const Extent& extent : extents) {
        if (furthest != nullptr && extent.begin < furthest->end) {
            report(extent, *furthest);
        }
        if (furthest == nullptr || extent.end > furthest->end) {
            furthest = &extent;
        }
    }
}

std::string NameOf(const TableMember& member, std::uint32_t element) {
    const std::string name = Quoted(member.name);
    return member.repeat.isArray() ? name + " element " + std::to_string(element) : name;
}

void CheckMembersApart(const Body& body, Findings& findings) {
    std::vector<Extent> extents;
    AddExtents(body, Extent{}, extents);
    std::set<std::pair<const TableMember*, const TableMember*>> reported;
    ForEachOverlap(std::move(extents), [&](const Extent& later, const Extent& earlier) {
        if (reported.emplace(later.member, earlier.member).second) {
            findings.add(later.member->origin, NameOf(*later.member, later.element) + " overlaps " +
                                                   NameOf(*earlier.member, earlier.element) + " (" +
                                                   ToString(earlier.member->origin) +
                                                   ") at offset " + Hex(later.begin) +
                                                   " of group " + Quoted(body.group));
        }
    });
}

void CheckAligned(const Origin& origin, const std::string& what, std::uint32_t bytes,
                  Findings& findings) {
    if (bytes % WORD_BYTES != 0) {
        findings.add(origin, what + " " + Hex(bytes) + " is not a multiple of the word's 4 bytes");
    }
}

void CheckBody(const Body& body, Findings& findings) {
    UniqueNames names(findings);
    for (const TableMember& member : body.members) {
        CheckName(member.origin, "member", member.name, MEMBERS_OF_GROUP, findings);
        names.add(member.origin, "member", member.name);
        CheckAligned(member.origin, "offset of " + Quoted(member.name), member.offset, findings);
        CheckAligned(member.origin, "step of " + Quoted(member.name), member.repeat.step, findings);
        CheckFields(member, findings);
    }
    CheckMembersApart(body, findings);
    if (body.isEmpty != body.members.empty()) {
        findings.add(body.origin, "group " + Quoted(body.group) +
                                      (body.isEmpty ? " is marked empty and has members"
                                                    : " has no members and is not marked empty"));
    }
}

/** A group has one body for every map, or one for each map that places it. */
void CheckBodiesOnce(const Tables& tables, Findings& findings) {
    std::map<std::string, const Body*> general;
    UniqueNames names(findings);
    for (const Body& body : tables.bodies) {
        names.add(body.origin, "group", body.group + (body.map.empty() ? "" : " for " + body.map));
        if (body.map.empty()) {
            general.emplace(body.group, &body);
        }
    }
    for (const Body& body : tables.bodies) {
        const auto found = general.find(body.group);
        if (!body.map.empty() && found != general.end()) {
            findings.add(body.origin, "group " + Quoted(body.group) + " for " + Quoted(body.map) +
                                          " already has a body for every map at " +
                                          ToString(found->second->origin));
        }
    }
}

// --- Placements of a map

void CheckPlacement(const Placement& placement, const Tables& tables, const TableMap& map,
                    Findings& findings) {
    const std::string group = Quoted(placement.group);
    CheckName(placement.origin, "group", placement.group, MEMBERS_OF_DOMAIN, findings);
    CheckAligned(placement.origin, "first offset of " + group, placement.first, findings);
    CheckAligned(placement.origin, "stride of " + group, placement.stride, findings);
    if (placement.count > 1 && (placement.stride == 0 || placement.first % placement.stride != 0)) {
        findings.add(placement.origin, "first offset " + Hex(placement.first) + " of " + group +
                                           " is not a multiple of its stride " +
                                           Hex(placement.stride));
    }
    if (tables.findBody(map, placement.group) == nullptr) {
        findings.add(placement.origin,
                     "group " + group + " has no body for the map " + Quoted(map.name));
    }
}

std::uint64_t ElementsOf(const Body& body) {
    std::uint64_t elements = 0;
    for (const TableMember& member : body.members) {
        elements += member.repeat.count;
    }
    return elements;
}

/** False, with a finding, if the map is too large to be expanded. */
bool CheckSize(const Tables& tables, const TableMap& map, Findings& findings) {
    std::uint64_t elements = 0;
    for (const TableDomain& domain : map.domains) {
        for (const Placement& placement : domain.placements) {
            if (const Body* body = tables.findBody(map, placement.group)) {
                elements += placement.count * ElementsOf(*body);
            }
        }
    }
    if (elements > MAX_ELEMENTS) {
        findings.add(map.origin, "map " + Quoted(map.name) + " places " + std::to_string(elements) +
                                     " registers and memories, more than " +
                                     std::to_string(MAX_ELEMENTS));
    }
    return elements <= MAX_ELEMENTS;
}

std::vector<Extent> ExtentsOf(const Tables& tables, const TableMap& map) {
    std::vector<Extent> extents;
    for (const TableDomain& domain : map.domains) {
        for (const Placement& placement : domain.placements) {
            const Body* body = tables.findBody(map, placement.group);
            for (std::uint32_t i = 0; body != nullptr && i < placement.count; ++i) {
                Extent start;
                start.begin = std::uint64_t{domain.base} + placement.first +
                              std::uint64_t{i} * placement.stride;
                start.placement = &placement;
                start.instance = i;
                AddExtents(*body, start, extents);
            }
        }
    }
    return extents;
}

std::string NameOf(const Placement& placement, std::uint32_t instance) {
    return "instance " + std::to_string(instance) + " of " + Quoted(placement.group);
}

void CheckInstancesApart(const Tables& tables, const TableMap& map, Findings& findings) {
    std::set<const Placement*> overlapping;
    std::set<std::pair<const Placement*, const Placement*>> reported;
    ForEachOverlap(ExtentsOf(tables, map), [&](const Extent& later, const Extent& earlier) {
        const bool isOneGroup = later.placement == earlier.placement;
        if (isOneGroup && later.instance == earlier.instance) {
            return;  // an error in the body, which is reported there
        }
        if (isOneGroup) {
            overlapping.insert(later.placement);
        }
        const bool isMeant = isOneGroup && later.placement->mayOverlap;
        if (!isMeant && reported.emplace(later.placement, earlier.placement).second) {
            findings.add(later.placement->origin, NameOf(*later.placement, later.instance) +
                                                      " overlaps " +
                                                      NameOf(*earlier.placement, earlier.instance) +
                                                      " (" + ToString(earlier.placement->origin) +
                                                      ") at address " + Hex(later.begin));
        }
    });
    for (const TableDomain& domain : map.domains) {
        for (const Placement& placement : domain.placements) {
            if (placement.mayOverlap && overlapping.count(&placement) == 0) {
                findings.add(placement.origin, "instances of " + Quoted(placement.group) +
                                                   " are marked overlap and do not overlap");
            }
        }
    }
}

void CheckMap(const Tables& tables, const TableMap& map, Findings& findings) {
    UniqueNames domains(findings);
    UniqueNames groups(findings);
    for (const TableDomain& domain : map.domains) {
        CheckName(domain.origin, "domain", domain.name, MEMBERS_OF_DOMAIN, findings);
        CheckAligned(domain.origin, "base of " + Quoted(domain.name), domain.base, findings);
        domains.add(domain.origin, "domain", domain.name);
        for (const Placement& placement : domain.placements) {
            groups.add(placement.origin, "group", placement.group);
            CheckPlacement(placement, tables, map, findings);
        }
    }
    if (CheckSize(tables, map, findings)) {
        CheckInstancesApart(tables, map, findings);
    }
}

void CheckMapNames(const Tables& tables, Findings& findings) {
    UniqueNames maps(findings);
    UniqueNames designs(findings);
    for (const TableMap& map : tables.maps) {
        maps.add(map.origin, "map", map.name);
        for (const std::string& design : map.designs) {
            designs.add(map.origin, "design", design);
            if (!IsIdentifier(design)) {
                findings.add(map.origin, "design " + Quoted(design) + " is not an identifier");
            }
        }
    }
}

void CheckBodiesUsed(const Tables& tables, Findings& findings) {
    std::set<const Body*> used;
    for (const TableMap& map : tables.maps) {
        for (const TableDomain& domain : map.domains) {
            for (const Placement& placement : domain.placements) {
                used.insert(tables.findBody(map, placement.group));
            }
        }
    }
    for (const Body& body : tables.bodies) {
        if (used.count(&body) == 0) {
            findings.add(body.origin, "group " + Quoted(body.group) + " is not used: no map " +
                                          (body.map.empty() ? "" : Quoted(body.map) + " ") +
                                          "places it");
        }
    }
}

}  // namespace

void CheckTables(const Tables& tables, Findings& findings) {
    for (const Body& body : tables.bodies) {
        CheckBody(body, findings);
    }
    CheckBodiesOnce(tables, findings);
    CheckMapNames(tables, findings);
    for (const TableMap& map : tables.maps) {
        CheckMap(tables, map, findings);
    }
    CheckBodiesUsed(tables, findings);
}

}  // namespace hwmaptables
