#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "src/card/velnor/hwmap/generator/emitter.h"
#include "src/card/velnor/hwmap/generator/tables.h"
#include "verification/fuzz/fuzzing.h"

/**
 * Input: a placement, a line "---", and a catalogue. Accepted tables are checked again, word by
 * word, and are emitted twice with the same result.
 */
namespace {

using hwmaptables::Body;
using hwmaptables::Findings;
using hwmaptables::GeneratedFile;
using hwmaptables::Placement;
using hwmaptables::TableDomain;
using hwmaptables::TableMap;
using hwmaptables::TableMember;
using hwmaptables::Tables;

constexpr uint64_t WORD_BYTES = 4;
/** With more words, the second check takes too long. */
constexpr uint64_t MAX_WORDS = 4096;

/** The group and the instance that own each word. */
using Owners = std::map<uint64_t, std::pair<const Placement*, uint32_t>>;

void RequireBitsApart(const TableMember& member) {
    uint32_t taken = 0;
    for (const hwmaptables::TableField& field : member.fields) {
        REQUIRE(field.low <= field.high && field.high < 32);
        for (uint32_t element = 0; element < field.repeat.count; ++element) {
            const uint64_t shifted = uint64_t{field.mask()}
                                     << (field.low + uint64_t{element} * field.repeat.step);
            REQUIRE(shifted <= UINT32_MAX && (taken & shifted) == 0);
            taken |= static_cast<uint32_t>(shifted);
        }
    }
}

/** No word of the instance has another owner, unless instances of the group may overlap. */
void ClaimWords(const Body& body, const Placement& placement, uint64_t base, uint32_t instance,
                Owners& owners, uint64_t& words) {
    for (const TableMember& member : body.members) {
        const uint64_t count = uint64_t{member.repeat.count} * member.words;
        words += count;
        for (uint64_t i = 0; i < count && words <= MAX_WORDS; ++i) {
            const uint64_t address = base + member.offset + i / member.words * member.repeat.step +
                                     i % member.words * WORD_BYTES;
            const auto [owner, isNew] = owners.emplace(address, std::pair(&placement, instance));
            REQUIRE(address % WORD_BYTES == 0);
            REQUIRE(isNew || (owner->second.first == &placement && placement.mayOverlap &&
                              owner->second.second != instance));
        }
    }
}

void RequireWordsApart(const Tables& tables, const TableMap& map) {
    Owners owners;
    uint64_t words = 0;
    for (const TableDomain& domain : map.domains) {
        for (const Placement& placement : domain.placements) {
            const Body* body = tables.findBody(map, placement.group);
            REQUIRE(body != nullptr);
            for (uint32_t i = 0; i < placement.count; ++i) {
                const uint64_t base =
                    uint64_t{domain.base} + placement.first + uint64_t{i} * placement.stride;
                ClaimWords(*body, placement, base, i, owners, words);
            }
        }
    }
}

std::string TextOf(const std::vector<GeneratedFile>& files) {
    std::string text;
    for (const GeneratedFile& file : files) {
        text += file.name + '\n' + file.text;
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    constexpr std::string_view separator = "---\n";
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const size_t end = std::min(text.find(separator), size);
    const std::string catalogue = text.substr(std::min(end + separator.size(), size));
    Findings findings;
    const Tables tables = hwmaptables::ReadTables(
        {{"m.placement", text.substr(0, end)}, {"c.catalogue", catalogue}}, findings);
    if (!findings.lines().empty()) {
        return 0;
    }
    for (const Body& body : tables.bodies) {
        for (const TableMember& member : body.members) {
            RequireBitsApart(member);
        }
    }
    RequireWordsApart(tables, tables.maps.at(0));
    for (const std::string& design : tables.maps.at(0).designs) {
        const std::string emitted = TextOf(hwmaptables::EmitDesign(tables, design, 3));
        REQUIRE(emitted == TextOf(hwmaptables::EmitDesign(tables, design, 3)));
    }
    return 0;
}
