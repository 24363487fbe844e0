#include <cctype>
#include <set>
#include <sstream>

#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

constexpr char C_HEAD[] = R"(/*
 * Register map of the FPGA design $. Written by velnor_regs; for C99 and C++.
 *
 * NAME_ADDRESS            of the first instance and element, in bytes from the base of the card's
 *                         address space
 * NAME_AT(i)              address of instance or element i
 * NAME_AT(i, j)           address of element j in instance i
 * NAME_COUNT, NAME_STEP   how often the name repeats, and the distance in bytes, for fields in bits
 * NAME_WORDS              size of a memory in words of four bytes
 * NAME_MASK, NAME_SHIFT   of a field: (word >> SHIFT) & MASK
 * NAME_RESET              of a field, right-aligned
 *
 * The comment of a field has its bits and, if the data sheet states it, its access: ro read-only,
 * wo write-only, rc cleared by a read.
 */
)";

std::string Upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string Decimal(std::uint64_t number) {
    return std::to_string(number) + "u";
}

std::string Hexadecimal(std::uint64_t number) {
    return HexText(number) + "u";
}

/** A text for a comment. */
std::string About(const Said& said) {
    std::string text = said.about.empty() ? "" : ": " + said.about;
    for (std::size_t at = text.find("*/"); at != std::string::npos; at = text.find("*/")) {
        text.insert(at + 1, " ");
    }
    return text;
}

std::string BitsOf(const FieldOutline& field) {
    const std::string bits = regs::BitsOf(Field{field.mask, field.shift, nullptr, nullptr});
    const std::string access = AccessText(field.said.access);
    return "[" + bits + "]" + (access.empty() ? "" : " " + access);
}

class Header {
  public:
    explicit Header(const ExportedMap& map) : i_guard("VELNOR_" + Upper(map.design) + "_H") {
        const std::string head = C_HEAD;
        const std::size_t mark = head.find('$');
        i_text << head.substr(0, mark) << map.design << head.substr(mark + 1);
        i_text << "#ifndef " << i_guard << "\n#define " << i_guard << '\n';
        for (const GroupOutline& group : map.groups) {
            addGroup("VELNOR_" + Upper(map.design) + "_", group);
        }
        i_text << "\n#endif /* " << i_guard << " */\n";
    }

    std::string text() const { return i_text.str(); }

  private:
    void addGroup(const std::string& prefix, const GroupOutline& group) {
        const std::string name = prefix + Upper(group.domain + "_" + group.name);
        i_text << "\n/* group " << group.domain << '.' << group.name << About(group.said)
               << " */\n";
        define(name + "_ADDRESS", Hexadecimal(group.address));
        addRepeat(name, group.repeat, Hexadecimal(group.repeat.step));
        addPlaces(name, {group.repeat});
        for (const MemberOutline& member : group.members) {
            addMember(name + "_" + Upper(member.name), group, member);
        }
    }

    void addMember(const std::string& name, const GroupOutline& group,
                   const MemberOutline& member) {
        i_text << "\n/* " << (member.isMemory ? "memory " : "register ") << member.name
               << About(member.said) << " */\n";
        define(name + "_ADDRESS", Hexadecimal(group.address + member.offset));
        if (member.isMemory) {
            define(name + "_WORDS", Decimal(member.words));
        }
        addRepeat(name, member.repeat, Hexadecimal(member.repeat.step));
        addPlaces(name, {group.repeat, member.repeat});
        for (const FieldOutline& field : member.fields) {
            addField(name + "_" + Upper(field.name), field);
        }
    }

    void addField(const std::string& name, const FieldOutline& field) {
        i_text << "/* field " << field.name << ' ' << BitsOf(field) << " */\n";
        define(name + "_MASK", Hexadecimal(field.mask));
        define(name + "_SHIFT", Decimal(field.shift));
        addRepeat(name, field.repeat, Decimal(field.repeat.step));
        if (field.said.reset) {
            define(name + "_RESET", Hexadecimal(*field.said.reset));
        }
    }

    void addRepeat(const std::string& name, const Repeat& repeat, const std::string& step) {
        if (repeat.count > 1) {
            define(name + "_COUNT", Decimal(repeat.count));
            define(name + "_STEP", step);
        }
    }

    /** The address of each element of a repeated name, with a parameter for each repetition. */
    void addPlaces(const std::string& name, const std::vector<Repeat>& repeats) {
        std::string parameters;
        std::string place = name + "_ADDRESS";
        for (const Repeat& repeat : repeats) {
            if (repeat.count > 1) {
                const std::string parameter = parameters.empty() ? "i" : "j";
                place += " + (" + parameter + ") * " + Hexadecimal(repeat.step);
                parameters += (parameters.empty() ? "" : ", ") + parameter;
            }
        }
        if (!parameters.empty()) {
            define(name + "_AT", "(" + place + ")", "(" + parameters + ")");
        }
    }

    void define(const std::string& name, const std::string& value,
                const std::string& parameters = "") {
        if (!i_names.insert(name).second) {
            throw Failure(EXIT_FINDING, "two names of the map become the same constant " + name +
                                            "; rename one of them in the tables");
        }
        i_text << "#define " << name << parameters << ' ' << value << '\n';
    }

    const std::string i_guard;
    std::ostringstream i_text;
    std::set<std::string> i_names;
};

}  // namespace

std::string CHeaderOf(const ExportedMap& map) {
    return Header(map).text();
}

}  // namespace regs
