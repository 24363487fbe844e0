#include <iostream>

#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/commands.h"
#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/map.h"
#include "companions/registers/velnor_regs/outline.h"

namespace regs {

namespace {

/** The rows of a dump. The cells before the numbers name the object. */
class DumpRows {
  public:
    void add(const Domain& domain, const Series<Group>& series, std::size_t instance) {
        const Group& group = series.elements[instance];
        i_group = {"Domain_" + domain.name, "Group_" + series.name, instance};
        Row row = begin("group", i_group);
        row[6] = Hex{group.address};
        rows.push_back(row);
        for (const auto& member : group.members) {
            for (std::size_t element = 0; element < member.elements.size(); ++element) {
                add(member, element);
            }
        }
    }

    static const std::vector<std::string> COLUMNS;
    std::vector<Row> rows;

  private:
    static Row begin(const std::string& kind, const Row& place) {
        Row row{kind};
        row.insert(row.end(), place.begin(), place.end());
        row.resize(COLUMNS.size());
        return row;
    }
    void add(const Series<Member>& series, std::size_t element) {
        const Member& member = series.elements[element];
        i_member = i_group;
        i_member.insert(i_member.end(), {series.name, element});
        Row row = begin(member.isMemory() ? "memory" : "register", i_member);
        row[6] = Hex{member.address};
        if (member.isMemory()) {
            row[7] = member.words;
        }
        rows.push_back(row);
        for (const auto& field : member.fields) {
            for (std::size_t i = 0; i < field.elements.size(); ++i) {
                row = begin("field", i_member);
                row[8] = field.name;
                row[9] = i;
                row[10] = Hex{field.elements[i].mask};
                row[11] = std::uint64_t{field.elements[i].shift};
                rows.push_back(row);
            }
        }
    }

    Row i_group;
    Row i_member;
};

const std::vector<std::string> DumpRows::COLUMNS = {
    "kind",    "domain", "group", "instance",      "member", "element",
    "address", "words",  "field", "field_element", "mask",   "shift"};

Row RowOf(const std::string& design) {
    const MapCounts counts = CountsOf(OutlineOf(OpenMap(design, nullptr)));
    return {design,           counts.groupTypes, counts.groups,
            counts.registers, counts.memories,   counts.fields};
}

Row RowOf(const GroupOutline& group) {
    std::uint64_t counts[2] = {0, 0};
    for (const MemberOutline& member : group.members) {
        counts[member.isMemory ? 1 : 0] += member.repeat.count;
    }
    Row row{group.domain + "." + group.name, Hex{group.address}, group.repeat.count, {}};
    if (group.repeat.count > 1) {
        row.back() = Hex{group.repeat.step};
    }
    row.insert(row.end(), {counts[0], counts[1]});
    return row;
}

}  // namespace

Answer List(const Request& request) {
    Answer answer;
    if (request.operands.empty()) {
        answer.subject = "designs";
        answer.columns = {"design", "group_types", "groups", "registers", "memories", "fields"};
        for (const std::string& design : DesignNames()) {
            answer.rows.push_back(RowOf(design));
        }
        return answer;
    }
    answer.subject = "groups";
    answer.columns = {"group", "address", "instances", "step", "registers", "memories"};
    for (const GroupOutline& group : OutlineOf(OpenMap(request.operands[0], nullptr))) {
        answer.rows.push_back(RowOf(group));
    }
    return answer;
}

Answer Dump(const Request& request) {
    const Map map = OpenMap(request.operands[0], nullptr);
    DumpRows dump;
    for (const Domain& domain : map.domains) {
        for (const auto& group : domain.groups) {
            for (std::size_t i = 0; i < group.elements.size(); ++i) {
                dump.add(domain, group, i);
            }
        }
    }
    Answer answer;
    answer.layout = e_Layout_Lines;
    answer.subject = "objects";
    answer.columns = DumpRows::COLUMNS;
    answer.rows = std::move(dump.rows);
    return answer;
}

int Export(const Request& request) {
    const ExportedMap map{request.design, TOLMIRA_VERSION,
                          OutlineOf(OpenMap(request.design, nullptr))};
    for (const ExportFormat& format : EXPORT_FORMATS) {
        if (format.name == request.format) {
            std::cout << format.write(map);
        }
    }
    return 0;
}

Answer Diff(const Request& request) {
    std::vector<std::vector<GroupOutline>> maps;
    for (const std::string& design : request.operands) {
        maps.push_back(OutlineOf(OpenMap(design, nullptr)));
    }
    Answer answer;
    answer.subject = "differences";
    answer.columns = {"path", request.operands[0], request.operands[1]};
    for (const Difference& difference : DifferencesOf(maps)) {
        answer.rows.push_back({difference.path, difference.values[0], difference.values[1]});
    }
    answer.exitValue = answer.rows.empty() ? 0 : EXIT_FINDING;
    return answer;
}

}  // namespace regs
