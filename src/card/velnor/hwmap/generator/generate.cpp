// hwmap_generate: writes the sources of one design's register map, or of the meanings of all
// designs, from the tables.

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cpputils/include/standarddescriptors.h"
#include "src/card/velnor/hwmap/generator/emitter.h"
#include "src/card/velnor/hwmap/generator/meanings.h"
#include "src/card/velnor/hwmap/generator/tables.h"

namespace {

using hwmaptables::Findings;
using hwmaptables::GeneratedFile;
using hwmaptables::TableFile;
using hwmaptables::Tables;

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;
constexpr unsigned int MAX_UNITS = 64;

bool ReadFile(const std::string& path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    text = content.str();
    return file.is_open() && !file.bad();
}

/** An unchanged file isn't written again, so that nothing that depends on it is rebuilt. */
bool WriteChanged(const std::string& path, const std::string& text) {
    std::string before;
    if (ReadFile(path, before) && before == text) {
        return true;
    }
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    return !file.fail();
}

int Fail(const std::string& line) {
    (void)fprintf(stderr, "%s\n", line.c_str());
    return FAILED;
}

int Write(const std::vector<GeneratedFile>& files, const std::string& folder) {
    for (const GeneratedFile& file : files) {
        const std::string path = folder + "/" + file.name;
        if (!WriteChanged(path, file.text)) {
            return Fail("hwmap_generate: can't write " + path);
        }
    }
    return EXIT_SUCCESS;
}

/** The operands before the tables. */
struct Order {
    /** Empty for the meanings of all designs. */
    std::string design;
    unsigned int units = 0;
    std::string folder;
    int firstTable = 0;
};

/** False for wrong usage. */
bool ReadOrder(int argc, char** argv, Order& order) {
    const bool isMeanings = argc > 1 && std::string(argv[1]) == "--meanings";
    order.firstTable = isMeanings ? 3 : 4;
    if (argc <= order.firstTable) {
        return false;
    }
    order.folder = argv[order.firstTable - 1];
    if (isMeanings) {
        return true;
    }
    order.design = argv[1];
    const std::string_view units = argv[2];
    const char* const end = units.data() + units.size();
    const auto [stop, error] = std::from_chars(units.data(), end, order.units);
    return error == std::errc() && stop == end && order.units > 0 && order.units <= MAX_UNITS;
}

int Generate(const Tables& tables, const Order& order) {
    if (order.design.empty()) {
        return Write({hwmaptables::EmitMeanings(tables)}, order.folder);
    }
    if (tables.findDesign(order.design) == nullptr) {
        return Fail("hwmap_generate: no placement names the design '" + order.design + "'");
    }
    return Write(hwmaptables::EmitDesign(tables, order.design, order.units), order.folder);
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    Order order;
    if (!ReadOrder(argc, argv, order)) {
        (void)fprintf(stderr,
                      "usage: hwmap_generate DESIGN UNITS FOLDER TABLE...\n"
                      "       hwmap_generate --meanings FOLDER TABLE...\n");
        return WRONG_USAGE;
    }
    std::vector<TableFile> files;
    for (int i = order.firstTable; i < argc; ++i) {
        files.push_back({argv[i], ""});
        if (!ReadFile(argv[i], files.back().text)) {
            return Fail(std::string("hwmap_generate: can't read ") + argv[i]);
        }
    }
    Findings findings;
    const Tables tables = hwmaptables::ReadTables(files, findings);
    for (const std::string& line : findings.lines()) {
        (void)fprintf(stderr, "%s\n", line.c_str());
    }
    return findings.lines().empty() ? Generate(tables, order) : FAILED;
}
