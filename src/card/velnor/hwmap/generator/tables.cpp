#include "src/card/velnor/hwmap/generator/tables.h"

#include <algorithm>
#include <filesystem>

#include "src/card/velnor/hwmap/generator/checks.h"
#include "src/card/velnor/hwmap/generator/parser.h"

namespace hwmaptables {

const Body* Tables::findBody(const TableMap& map, const std::string& group) const {
    const auto found = std::find_if(bodies.begin(), bodies.end(), [&](const Body& body) {
        return body.group == group && (body.map.empty() || body.map == map.name);
    });
    return found == bodies.end() ? nullptr : &*found;
}

const TableMap* Tables::findDesign(const std::string& design) const {
    const auto found = std::find_if(maps.begin(), maps.end(), [&](const TableMap& map) {
        return std::count(map.designs.begin(), map.designs.end(), design) != 0;
    });
    return found == maps.end() ? nullptr : &*found;
}

std::string ToString(const Origin& origin) {
    return origin.file + ":" + std::to_string(origin.line);
}

void Findings::add(const Origin& origin, const std::string& text) {
    i_lines.push_back(ToString(origin) + ": " + text);
}

Tables ReadTables(const std::vector<TableFile>& files, Findings& findings) {
    Tables tables;
    for (const TableFile& file : files) {
        const std::filesystem::path extension = std::filesystem::path(file.name).extension();
        if (extension == ".placement") {
            ParsePlacement(file, tables, findings);
        } else if (extension == ".catalogue") {
            ParseCatalogue(file, tables, findings);
        } else {
            findings.add({file.name, 1}, "neither a .placement nor a .catalogue");
        }
    }
    CheckTables(tables, findings);
    return tables;
}

}  // namespace hwmaptables
