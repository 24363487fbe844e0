#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

using Cells = std::vector<std::string>;

const Cells COLUMNS = {"domain",
                       "group",
                       "instance",
                       "group_address",
                       "kind",
                       "member",
                       "element",
                       "address",
                       "words",
                       "field",
                       "field_element",
                       "high",
                       "low",
                       "mask",
                       "access",
                       "reset",
                       "group_description",
                       "member_description"};

std::string QuotedCell(const std::string& cell) {
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
        return cell;
    }
    std::string quoted = "\"";
    for (const char c : cell) {
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return quoted + "\"";
}

/** Collects the rows. The leading cells of a row are those of the current group and member. */
class Sheet {
  public:
    Sheet() { add(COLUMNS); }

    void addGroup(const GroupOutline& group, std::size_t instance) {
        const std::uint64_t address = group.address + instance * group.repeat.step;
        i_group = {group.domain, group.name, std::to_string(instance), HexText(address)};
        for (const MemberOutline& member : group.members) {
            for (std::size_t element = 0; element < member.repeat.count; ++element) {
                addMember(group, member, address, element);
            }
        }
        if (group.members.empty()) {
            Cells row = i_group;
            row.resize(COLUMNS.size() - 2);
            row.insert(row.end(), {group.said.about, ""});
            add(row);
        }
    }

    const std::string& text() const { return i_text; }

  private:
    void addMember(const GroupOutline& group, const MemberOutline& member, std::uint64_t address,
                   std::size_t element) {
        i_member = i_group;
        i_member.insert(
            i_member.end(),
            {member.isMemory ? "memory" : "register", member.name, std::to_string(element),
             HexText(address + member.offset + element * member.repeat.step),
             std::to_string(member.words)});
        for (const FieldOutline& field : member.fields) {
            for (std::size_t i = 0; i < field.repeat.count; ++i) {
                addField(group, member, field, i);
            }
        }
    }

    void addField(const GroupOutline& group, const MemberOutline& member, const FieldOutline& field,
                  std::size_t element) {
        const std::uint64_t low = field.shift + element * field.repeat.step;
        Cells row = i_member;
        row.insert(row.end(), {field.name, std::to_string(element),
                               std::to_string(low + WidthOf(field.mask) - 1), std::to_string(low),
                               HexText(field.mask), AccessText(field.said.access),
                               field.said.reset ? HexText(*field.said.reset) : "", group.said.about,
                               member.said.about});
        add(row);
    }

    void add(const Cells& row) {
        const char* separator = "";
        for (const std::string& cell : row) {
            i_text += separator + QuotedCell(cell);
            separator = ",";
        }
        i_text += '\n';
    }

    Cells i_group;
    Cells i_member;
    std::string i_text;
};

}  // namespace

std::string CsvOf(const ExportedMap& map) {
    Sheet sheet;
    for (const GroupOutline& group : map.groups) {
        for (std::size_t i = 0; i < group.repeat.count; ++i) {
            sheet.addGroup(group, i);
        }
    }
    return sheet.text();
}

}  // namespace regs
