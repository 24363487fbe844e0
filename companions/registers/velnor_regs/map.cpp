#include "companions/registers/velnor_regs/map.h"

#include <map>
#include <string_view>
#include <tuple>

#include "companions/commandline/nearest.h"
#include "companions/registers/velnor_regs/failure.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_2_5_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_mm_fcfs_walk.h"
#include "src/card/velnor/hwmap/mapvisitor.h"

namespace regs {

namespace {

/** Group, member and field; member and field may be empty. */
using Name = std::tuple<std::string_view, std::string_view, std::string_view>;
using Meanings = std::map<Name, Said>;

Meanings MeaningsOf(std::string_view design) {
    Meanings meanings;
    for (std::size_t i = 0; i < hwmap::MEANING_COUNT; ++i) {
        const hwmap::Meaning& one = hwmap::MEANINGS[i];
        if (one.design[0] == '\0' || one.design == design) {
            Said& said = meanings[{one.group, one.member, one.field}];
            said = {one.about, one.access, {}};
            if (one.reset >= 0) {
                said.reset = static_cast<std::uint32_t>(one.reset);
            }
        }
    }
    return meanings;
}

/** Appends each object, so that the map keeps the order of construction. */
class Builder : public hwmap::MapVisitor {
  public:
    Builder(Map& map, std::string_view design, void* base)
        : i_domains(map.domains),
          i_meanings(MeaningsOf(design)),
          i_base(reinterpret_cast<std::uintptr_t>(base)) {}

    void group(const char* domain, const char* name, unsigned int instance, std::uintptr_t address,
               const void* /*object*/) override {
        if (i_domains.empty() || i_domains.back().name != domain) {
            i_domains.push_back({domain, {}});
        }
        i_name = {name, "", ""};
        append(i_domains.back().groups, name, instance, Group{address - i_base, {}});
    }
    void registerWord(const char* name, unsigned int element, RegisterObject& object) override {
        beginMember(name);
        append(lastGroup().members, name, element,
               Member{object.absoluteAddress() - i_base, 1, &object, nullptr, {}});
    }
    void memory(const char* name, unsigned int element, MemoryObject& object) override {
        beginMember(name);
        append(
            lastGroup().members, name, element,
            Member{object.absoluteAddress() - i_base, object.sizeInWords(), nullptr, &object, {}});
    }
    void registerField(const char* name, unsigned int element,
                       RegisterFieldObject& object) override {
        std::get<2>(i_name) = name;
        append(lastMember().fields, name, element,
               Field{object.alignedMask(), object.lowestBit(), &object, nullptr});
    }
    void memoryField(const char* name, unsigned int element, MemoryFieldObject& object) override {
        std::get<2>(i_name) = name;
        append(lastMember().fields, name, element,
               Field{object.alignedMask(), object.lowestBit(), nullptr, &object});
    }

  private:
    void beginMember(const char* name) {
        std::get<1>(i_name) = name;
        std::get<2>(i_name) = "";
    }
    template <class Element>
    void append(std::vector<Series<Element>>& list, const char* name, unsigned int element,
                Element object) {
        if (element == 0) {
            const auto said = i_meanings.find(i_name);
            list.push_back({name, {}, said == i_meanings.end() ? Said() : said->second});
        }
        ASSERT(list.back().name == name && list.back().elements.size() == element);
        list.back().elements.push_back(std::move(object));
    }
    Group& lastGroup() { return i_domains.back().groups.back().elements.back(); }
    Member& lastMember() { return lastGroup().members.back().elements.back(); }

    std::vector<Domain>& i_domains;
    const Meanings i_meanings;
    /** Of the object that came last. */
    Name i_name;
    const std::uintptr_t i_base;
};

template <class Design>
Map Open(const char* name, void* base) {
    const auto design = std::make_shared<Design>(VolatileAccessor(), base);
    Map map{design, {}};
    Builder builder(map, name, base);
    hwmap::Walk(*design, builder);
    return map;
}

const struct {
    const char* name;
    Map (*open)(const char* name, void* base);
} DESIGNS[] = {
    {"mm_fcfs", Open<hwmap::Design_velnor_vp_mm_fcfs<VolatileAccessor>>},
    {"dve", Open<hwmap::Design_velnor_vp_dve<VolatileAccessor>>},
    {"dve_3g", Open<hwmap::Design_velnor_vp_dve_3g<VolatileAccessor>>},
    {"dve_2_5", Open<hwmap::Design_velnor_vp_dve_2_5<VolatileAccessor>>},
    {"dve_3g_2_5", Open<hwmap::Design_velnor_vp_dve_3g_2_5<VolatileAccessor>>},
};

}  // namespace

std::vector<std::string> DesignNames() {
    std::vector<std::string> names;
    for (const auto& design : DESIGNS) {
        names.emplace_back(design.name);
    }
    return names;
}

Map OpenMap(const std::string& design, void* base) {
    for (const auto& known : DESIGNS) {
        if (known.name == design) {
            return known.open(known.name, base);
        }
    }
    throw Failure(EXIT_FINDING, "there is no design " + design +
                                    commandline::SuggestionFor(design, DesignNames()) +
                                    " (see velnor_regs list)");
}

void ForEachMember(const Map& map,
                   const std::function<void(const std::string& path, const Member& member)>& call) {
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

const char* AccessText(hwmap::e_Access access) {
    constexpr const char* texts[] = {"", "ro", "wo", "rc"};
    return texts[access];
}

unsigned int WidthOf(unsigned int mask) {
    unsigned int width = 0;
    for (; mask != 0; mask >>= 1) {
        ++width;
    }
    return width;
}

std::string BitsOf(const Field& field) {
    const unsigned int high = field.shift + WidthOf(field.mask) - 1;
    const std::string low = std::to_string(field.shift);
    return high == field.shift ? low : std::to_string(high) + ":" + low;
}

std::string IndexOf(bool repeats, std::size_t element) {
    return repeats ? "[" + std::to_string(element) + "]" : "";
}

}  // namespace regs
