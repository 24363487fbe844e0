// hwmap_generate: writes the sources of one design's register map, from the tables.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "src/card/velnor/hwmap/generator/emitter.h"
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

/** A file that stands as it should is left alone, so that nothing behind it is built again. */
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

int Generate(const Tables& tables, const std::string& design, unsigned int units,
             const std::string& folder) {
    if (tables.findDesign(design) == nullptr) {
        return Fail("hwmap_generate: no placement names the design '" + design + "'");
    }
    for (const GeneratedFile& file : hwmaptables::EmitDesign(tables, design, units)) {
        const std::string path = folder + "/" + file.name;
        if (!WriteChanged(path, file.text)) {
            return Fail("hwmap_generate: can't write " + path);
        }
    }
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const unsigned long units = argc > 2 ? strtoul(argv[2], nullptr, 10) : 0;
    if (argc < 5 || units == 0 || units > MAX_UNITS) {
        (void)fprintf(stderr, "usage: hwmap_generate DESIGN UNITS FOLDER TABLE...\n");
        return WRONG_USAGE;
    }
    std::vector<TableFile> files;
    for (int i = 4; i < argc; ++i) {
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
    return findings.lines().empty()
               ? Generate(tables, argv[1], static_cast<unsigned int>(units), argv[3])
               : FAILED;
}
