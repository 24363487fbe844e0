#include <algorithm>
#include <set>
#include <sstream>

#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

constexpr char RDL_HEAD[] =
    R"(// Register map of the FPGA design $. Written by velnor_regs; SystemRDL 2.0.
//
// Repeated fields are listed one by one; the name property is the map's name and index. What the
// language cannot express follows //+: a group without members, and instances that overlap. A reader
// may treat it as part of the text.
)";

/** Reserved words, which are escaped as names. */
const std::set<std::string> KEYWORDS = {"abstract",
                                        "accesstype",
                                        "addressingtype",
                                        "addrmap",
                                        "alias",
                                        "all",
                                        "alternate",
                                        "bit",
                                        "boolean",
                                        "bothedge",
                                        "byte",
                                        "component",
                                        "componentwidth",
                                        "constraint",
                                        "default",
                                        "else",
                                        "encode",
                                        "enum",
                                        "external",
                                        "false",
                                        "field",
                                        "fullalign",
                                        "hw",
                                        "if",
                                        "inside",
                                        "int",
                                        "internal",
                                        "level",
                                        "longint",
                                        "mem",
                                        "na",
                                        "negedge",
                                        "nonsticky",
                                        "number",
                                        "onreadtype",
                                        "onwritetype",
                                        "posedge",
                                        "precedence",
                                        "precedencetype",
                                        "property",
                                        "r",
                                        "rclr",
                                        "real",
                                        "ref",
                                        "reg",
                                        "regalign",
                                        "regfile",
                                        "rset",
                                        "ruser",
                                        "rw",
                                        "rw1",
                                        "shortint",
                                        "shortreal",
                                        "signal",
                                        "signed",
                                        "string",
                                        "struct",
                                        "sw",
                                        "this",
                                        "true",
                                        "type",
                                        "unsigned",
                                        "w",
                                        "w1",
                                        "wclr",
                                        "with",
                                        "within",
                                        "woclr",
                                        "woset",
                                        "wot",
                                        "wr",
                                        "wset",
                                        "wuser",
                                        "wzc",
                                        "wzs",
                                        "wzt"};

std::string Identifier(const std::string& name) {
    return (KEYWORDS.count(name) != 0 ? "\\" : "") + name;
}

std::string QuotedText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += (c == '"' || c == '\\') ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

/** "[4] @ 0x10 += 0x8" or "@ 0x10". */
std::string PlaceOf(std::uint64_t address, const Repeat& repeat) {
    const std::string place = " @ " + HexText(address);
    return repeat.count == 1
               ? place
               : "[" + std::to_string(repeat.count) + "]" + place + " += " + HexText(repeat.step);
}

const char* PropertiesOf(hwmap::e_Access access) {
    constexpr const char* properties[] = {"", " sw = r;", " sw = w;", " sw = r; onread = rclr;"};
    return properties[access];
}

class Text {
  public:
    explicit Text(const ExportedMap& map) {
        const std::string head = RDL_HEAD;
        const std::size_t mark = head.find('$');
        i_text << head.substr(0, mark) << map.design << head.substr(mark + 1);
        open("addrmap velnor_vp_" + map.design);
        for (auto first = map.groups.begin(); first != map.groups.end();) {
            auto last = first;
            while (last != map.groups.end() && last->domain == first->domain) {
                ++last;
            }
            addDomain({first, last});
            first = last;
        }
        close("");
    }

    std::string text() const { return i_text.str(); }

  private:
    /** Begins at its lowest group, so that domains with the same base do not overlap. */
    void addDomain(const std::vector<GroupOutline>& groups) {
        open("addrmap");
        std::uint64_t base = groups[0].address;
        for (const GroupOutline& group : groups) {
            base = std::min(base, group.address);
        }
        for (const GroupOutline& group : groups) {
            addGroup(group, base);
        }
        close(Identifier(groups[0].domain) + PlaceOf(base, {1, 0}));
    }

    /** A memory is allowed only in an address map. */
    void addGroup(const GroupOutline& group, std::uint64_t base) {
        if (group.members.empty()) {
            line("//+ regfile { desc = " + QuotedText(group.said.about) + "; } " +
                 Identifier(group.name) + PlaceOf(group.address - base, group.repeat) + ";");
            return;
        }
        const bool hasMemory =
            std::any_of(group.members.begin(), group.members.end(),
                        [](const MemberOutline& member) { return member.isMemory; });
        open(hasMemory ? "addrmap" : "regfile");
        addAbout(group.said);
        for (const MemberOutline& member : group.members) {
            addMember(member);
        }
        const std::string name = Identifier(group.name);
        const std::string place = PlaceOf(group.address - base, {1, 0});
        const bool overlap = group.repeat.count > 1 && group.repeat.step < BytesOf(group);
        close(overlap ? name + "\n//+ [" + std::to_string(group.repeat.count) + "]\n" + place +
                            "\n//+ += " + HexText(group.repeat.step) + "\n"
                      : name + PlaceOf(group.address - base, group.repeat));
    }

    void addMember(const MemberOutline& member) {
        if (!member.isMemory) {
            addWord(member.said, member.fields,
                    Identifier(member.name) + PlaceOf(member.offset, member.repeat));
            return;
        }
        open("mem");
        addAbout(member.said);
        line("mementries = " + std::to_string(member.words) + ";");
        line("memwidth = 32;");
        const Said nothing = {};
        const std::size_t exported = member.words <= MOST_EXPORTED_WORDS ? member.words : 1;
        addWord(nothing, member.fields, "word" + PlaceOf(0, {exported, 4}));
        close("external " + Identifier(member.name) + PlaceOf(member.offset, member.repeat));
    }

    void addWord(const Said& said, const std::vector<FieldOutline>& fields,
                 const std::string& instance) {
        open("reg");
        addAbout(said);
        for (const FieldOutline& field : fields) {
            for (std::size_t i = 0; i < field.repeat.count; ++i) {
                addField(field, i);
            }
        }
        close(instance);
    }

    void addField(const FieldOutline& field, std::size_t element) {
        const bool isOne = field.repeat.count == 1;
        const std::string number = std::to_string(element);
        const std::uint64_t low = field.shift + element * field.repeat.step;
        line("field {" +
             (isOne ? "" : " name = " + QuotedText(field.name + "[" + number + "]") + ";") +
             PropertiesOf(field.said.access) + " } " +
             (isOne ? Identifier(field.name) : field.name + "_" + number) + "[" +
             std::to_string(low + WidthOf(field.mask) - 1) + ":" + std::to_string(low) + "]" +
             (field.said.reset ? " = " + HexText(*field.said.reset) : "") + ";");
    }

    void addAbout(const Said& said) {
        if (!said.about.empty()) {
            line("desc = " + QuotedText(said.about) + ";");
        }
    }

    void open(const std::string& component) {
        line(component + " {");
        i_indent += "    ";
    }
    void close(const std::string& instance) {
        i_indent.resize(i_indent.size() - 4);
        line("}" + (instance.empty() ? "" : " " + instance) + ";");
    }
    void line(const std::string& text) { i_text << i_indent << text << '\n'; }

    std::ostringstream i_text;
    std::string i_indent;
};

}  // namespace

std::string SystemRdlOf(const ExportedMap& map) {
    return Text(map).text();
}

}  // namespace regs
