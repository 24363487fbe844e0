/**
 * velnor_atlas: writes the register maps as self-contained pages for a browser. The data of a page
 * has repeated objects folded; its script unfolds them.
 */
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "companions/commandline/commandline.h"
#include "companions/commandline/failure.h"
#include "companions/jsonvalue/jsonvalue.h"
#include "companions/registers/velnor_regs/outline.h"
#include "cpputils/include/standarddescriptors.h"

namespace {

using Outline = std::vector<regs::GroupOutline>;

/** An address map, named after its first design, and all designs that have it. */
struct AddressMap {
    std::string design;
    std::vector<std::string> designs;
    Outline outline;
};

/** Designs with equal maps share one. */
std::vector<AddressMap> AddressMaps() {
    std::vector<AddressMap> maps;
    for (const std::string& design : regs::DesignNames()) {
        const Outline outline = regs::OutlineOf(regs::OpenMap(design, nullptr));
        const auto known = std::find_if(maps.begin(), maps.end(), [&](const AddressMap& map) {
            return regs::DifferencesOf({map.outline, outline}).empty();
        });
        if (known != maps.end()) {
            known->designs.push_back(design);
        } else {
            maps.push_back({design, {design}, outline});
        }
    }
    return maps;
}

JsonValue Repeated(JsonValue object, const regs::Repeat& repeat) {
    object["count"] = repeat.count;
    object["step"] = repeat.step;
    return object;
}

/** Adds the text unless it is empty. */
void AddText(JsonValue& object, const char* name, const std::string& text) {
    if (!text.empty()) {
        object[name] = text;
    }
}

JsonValue JsonOf(const regs::MemberOutline& member) {
    JsonValue fields = JsonValue::array();
    for (const regs::FieldOutline& field : member.fields) {
        JsonValue object = Repeated(
            {{"name", field.name}, {"mask", field.mask}, {"shift", field.shift}}, field.repeat);
        AddText(object, "access", regs::AccessText(field.said.access));
        if (field.said.reset) {
            object["reset"] = *field.said.reset;
        }
        fields.append(std::move(object));
    }
    JsonValue object = Repeated({{"name", member.name},
                                 {"memory", member.isMemory},
                                 {"offset", member.offset},
                                 {"words", member.words}},
                                member.repeat);
    AddText(object, "about", member.said.about);
    object["fields"] = std::move(fields);
    return object;
}

JsonValue JsonOf(const AddressMap& map) {
    JsonValue groups = JsonValue::array();
    for (const regs::GroupOutline& group : map.outline) {
        JsonValue object =
            Repeated({{"domain", group.domain}, {"name", group.name}, {"address", group.address}},
                     group.repeat);
        AddText(object, "about", group.said.about);
        JsonValue& members = object["members"] = JsonValue::array();
        for (const regs::MemberOutline& member : group.members) {
            members.append(JsonOf(member));
        }
        groups.append(std::move(object));
    }
    return {{"design", map.design}, {"designs", map.designs}, {"groups", std::move(groups)}};
}

/** The numbers of objects in a map. */
JsonValue SummaryOf(const AddressMap& map) {
    const regs::MapCounts counts = regs::CountsOf(map.outline);
    return {{"design", map.design},
            {"designs", map.designs},
            {"groupTypes", counts.groupTypes},
            {"groups", counts.groups},
            {"members", counts.registers + counts.memories},
            {"fields", counts.fields}};
}

JsonValue OverviewOf(const std::vector<AddressMap>& maps) {
    std::vector<Outline> outlines;
    JsonValue summaries = JsonValue::array();
    for (const AddressMap& map : maps) {
        outlines.push_back(map.outline);
        summaries.append(SummaryOf(map));
    }
    JsonValue differences = JsonValue::array();
    for (const regs::Difference& difference : regs::DifferencesOf(outlines)) {
        differences.append({{"path", difference.path}, {"values", difference.values}});
    }
    return {{"maps", std::move(summaries)}, {"differences", std::move(differences)}};
}

[[noreturn]] void Fail(const std::string& what, const std::string& file, const char* remedy) {
    throw std::runtime_error("cannot " + what + " " + file + ": " + strerror(errno) + "; " +
                             remedy);
}

/** Fills the template of a page and writes it. */
class Pages {
  public:
    Pages(std::string assets, std::string output, const std::vector<AddressMap>& maps)
        : i_assets(std::move(assets)), i_output(std::move(output)) {
        i_pages.emplace_back("index", "Differences");
        for (const AddressMap& map : maps) {
            i_pages.emplace_back(map.design, map.design);
        }
    }

    void write(const std::string& page, const std::string& title, const std::string& script,
               const JsonValue& data) const {
        const std::string file = i_output + "/" + page + ".html";
        std::ofstream out(file);
        out << filled({{"title", title},
                       {"style", asset("style.css")},
                       {"navigation", navigation(page)},
                       {"data", data.dump()},
                       {"script", asset("common.js") + asset(script)}});
        if (!out.flush()) {
            Fail("write", file, "choose another folder");
        }
    }

  private:
    std::string asset(const std::string& name) const {
        std::ifstream in(i_assets + "/" + name);
        std::ostringstream text;
        if (!(text << in.rdbuf())) {
            Fail("read", i_assets + "/" + name, "give the folder with the pages' parts");
        }
        return text.str();
    }

    std::string navigation(const std::string& here) const {
        std::string links;
        for (const auto& [page, name] : i_pages) {
            links.append("<a href=\"").append(page).append(".html\"");
            links.append(page == here ? " class=\"here\">" : ">").append(name).append("</a>");
        }
        return links;
    }

    std::string filled(const std::vector<std::pair<std::string, std::string>>& parts) const {
        std::string text = asset("page.html");
        for (const auto& [name, part] : parts) {
            const std::string mark = "{{" + name + "}}";
            text.replace(text.find(mark), mark.size(), part);
        }
        return text;
    }

    const std::string i_assets;
    const std::string i_output;
    std::vector<std::pair<std::string, std::string>> i_pages;
};

void Write(const std::string& assets, const std::string& output) {
    std::error_code error;
    std::filesystem::create_directories(output, error);
    const std::vector<AddressMap> maps = AddressMaps();
    const Pages pages(assets, output, maps);
    pages.write("index", "Register atlas", "differences.js", OverviewOf(maps));
    for (const AddressMap& map : maps) {
        pages.write(map.design, map.design + " - register atlas", "map.js", JsonOf(map));
    }
}

/** The program; throws to end early. */
int Run(int argc, const char* const* argv) {
    std::string assets;
    std::string output;
    commandline::Program program(
        "Writes the register maps as pages for a browser.\n"
        "Exit value: 0 written, 1 not written, 2 wrong usage.",
        "velnor_atlas");
    program.version(TOLMIRA_VERSION);
    program.option("PARTS", assets, "Folder with the parts of the pages").required();
    program.option("FOLDER", output, "Folder for the pages; created if it doesn't exist")
        .required();
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    Write(assets, output);
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        commandline::ReportFailure("velnor_atlas", error.what(), EXIT_FAILURE, false);
        return EXIT_FAILURE;
    }
}
