#include "companions/registers/export/readers.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <sstream>
#include <stdexcept>

#include "companions/registers/export/foldedlines.h"

namespace testsupport {

namespace {

using nlohmann::json;

json Named(const std::string& name) {
    return {{"name", name}, {"count", 1}, {"step", 0}};
}

unsigned NumberOf(const std::string& text) {
    return static_cast<unsigned>(std::stoul(text, nullptr, 0));
}

unsigned MaskOf(unsigned width) {
    return 0xffffffffU >> (32 - width);
}

// --- C

/** The comments name the objects; the constants after a comment have the object's numbers. */
class CReader {
  public:
    explicit CReader(const std::string& text) {
        std::istringstream lines(text.substr(text.find("#define")));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string first;
            std::string kind;
            std::string name;
            words >> first >> kind >> name;
            if (first == "/*") {
                begin(kind, name.substr(0, name.find(':')));
            } else if (first == "#define" && kind.find('(') == std::string::npos && !name.empty()) {
                set(kind.substr(kind.rfind('_') + 1), NumberOf(name));
            }
        }
    }

    const json& groups() const { return i_groups; }

  private:
    json& member() { return i_groups.back()["members"].back(); }

    void begin(const std::string& kind, const std::string& name) {
        if (kind == "group") {
            const std::size_t dot = name.find('.');
            i_groups.push_back(Named(name.substr(dot + 1)));
            i_groups.back()["domain"] = name.substr(0, dot);
            i_groups.back()["members"] = json::array();
            i_last = &i_groups.back();
        } else if (kind == "field") {
            member()["fields"].push_back(Named(name));
            i_last = &member()["fields"].back();
        } else {
            json one = Named(name);
            one["memory"] = kind == "memory";
            i_groups.back()["members"].push_back(one);
            i_last = &member();
        }
    }

    void set(const std::string& what, unsigned number) {
        if (what == "RESET") {
            return;  // the dump has no reset values
        }
        static const std::map<std::string, const char*> keys = {
            {"ADDRESS", "address"}, {"COUNT", "count"}, {"STEP", "step"},
            {"WORDS", "words"},     {"MASK", "mask"},   {"SHIFT", "shift"}};
        (*i_last)[keys.at(what)] = number;
        if (what == "ADDRESS" && i_last != &i_groups.back()) {
            (*i_last)["offset"] = number - i_groups.back()["address"].get<unsigned>();
        }
    }

    json i_groups = json::array();
    /** What the constants belong to. */
    json* i_last = nullptr;
};

// --- CSV

std::vector<std::vector<std::string>> Cells(const std::string& text) {
    std::vector<std::vector<std::string>> rows = {{""}};
    bool isQuoted = false;
    for (const char c : text) {
        if (c == '"') {
            isQuoted = !isQuoted;
        } else if (c == ',' && !isQuoted) {
            rows.back().emplace_back();
        } else if (c == '\n' && !isQuoted) {
            rows.push_back({""});
        } else {
            rows.back().back() += c;
        }
    }
    rows.pop_back();
    return rows;
}

// --- SVD

/** The name is without its index placeholder. */
json Repeated(pugi::xml_node node) {
    std::string name = node.child_value("name");
    for (const char* mark : {"[%s]", "%s"}) {
        const std::size_t at = name.find(mark);
        name = at == std::string::npos ? name : name.substr(0, at);
    }
    json object = Named(name);
    if (const pugi::xml_node dim = node.child("dim")) {
        object["count"] = NumberOf(dim.child_value());
        object["step"] = NumberOf(node.child_value("dimIncrement"));
    }
    return object;
}

json FieldsOf(pugi::xml_node word) {
    json fields = json::array();
    for (const pugi::xml_node field : word.child("fields")) {
        json object = Repeated(field);
        object["shift"] = NumberOf(field.child_value("bitOffset"));
        object["mask"] = MaskOf(NumberOf(field.child_value("bitWidth")));
        fields.push_back(object);
    }
    return fields;
}

json MemberOf(pugi::xml_node node, unsigned words) {
    const bool isCluster = std::string(node.name()) == "cluster";
    const pugi::xml_node word = isCluster ? node.child("register") : node;
    json member = Repeated(node);
    member["offset"] = NumberOf(node.child_value("addressOffset"));
    member["fields"] = FieldsOf(word);
    member["memory"] = member["name"].get<std::string>().rfind("R_", 0) != 0;
    if (member["memory"]) {
        member["words"] = words != 0 ? words : Repeated(word)["count"].get<unsigned>();
        member["count"] = isCluster ? member["count"].get<unsigned>() : 1;
    }
    return member;
}

json GroupOf(pugi::xml_node peripheral) {
    const pugi::xml_node block = peripheral.child("addressBlock");
    const bool isBuffer = block.child_value("usage") == std::string("buffer");
    json group = Repeated(peripheral);
    group["domain"] = peripheral.child_value("groupName");
    group["address"] = NumberOf(peripheral.child_value("baseAddress"));
    group["members"] = json::array();
    for (const pugi::xml_node node : peripheral.child("registers")) {
        group["members"].push_back(
            MemberOf(node, isBuffer ? NumberOf(block.child_value("size")) / 4 : 0));
    }
    return group;
}

// --- SystemRDL

using Words = std::vector<std::string>;

Words WordsOf(const std::string& text) {
    Words words;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t start = i;
        if (text.compare(i, 3, "//+") == 0) {
            i += 2;
        } else if (text.compare(i, 2, "//") == 0) {
            i = text.find('\n', i);
        } else if (text[i] == '"') {
            for (++i; text[i] != '"'; ++i) {
                i += text[i] == '\\' ? 1 : 0;
            }
            words.push_back(text.substr(start, i + 1 - start));
        } else if (std::isalnum(static_cast<unsigned char>(text[i])) != 0 || text[i] == '_') {
            while (std::isalnum(static_cast<unsigned char>(text[i + 1])) != 0 ||
                   text[i + 1] == '_') {
                ++i;
            }
            words.push_back(text.substr(start, i + 1 - start));
        } else if (std::isspace(static_cast<unsigned char>(text[i])) == 0 && text[i] != '\\') {
            words.emplace_back(1, text[i]);
        }
    }
    return words;
}

/** A component with its properties, its instance, and the components inside. */
struct Component {
    std::string kind;
    std::string name;
    std::map<std::string, std::string> properties;
    std::vector<unsigned> brackets;
    unsigned address = 0;
    unsigned step = 0;
    std::vector<Component> parts;
};

class RdlReader {
  public:
    explicit RdlReader(const std::string& text) : i_words(WordsOf(text)) {}

    Component whole() {
        expect("addrmap");
        Component top{"addrmap", take(), {}, {}, 0, 0, {}};
        body(top);
        return top;
    }

  private:
    std::string take() { return i_words.at(i_next++); }
    void expect(const std::string& word) {
        if (const std::string found = take(); found != word) {
            throw std::runtime_error("expected " + word + ", found " + found);
        }
    }
    bool takes(const std::string& word) {
        const bool is = i_words.at(i_next) == word;
        i_next += is ? 1 : 0;
        return is;
    }

    void body(Component& owner) {
        expect("{");
        while (!takes("}")) {
            const std::string word = take();
            if (takes("=")) {
                owner.properties[word] = take();
                expect(";");
            } else {
                Component part{word, "", {}, {}, 0, 0, {}};
                body(part);
                instance(part);
                owner.parts.push_back(part);
            }
        }
    }

    void instance(Component& part) {
        (void)takes("external");
        part.name = take();
        if (takes("[")) {
            do {
                part.brackets.push_back(NumberOf(take()));
            } while (takes(":"));
            expect("]");
        }
        if (takes("@")) {
            part.address = NumberOf(take());
        }
        if (takes("+")) {
            expect("=");
            part.step = NumberOf(take());
        }
        if (takes("=")) {
            part.properties["reset"] = take();
        }
        expect(";");
    }

    const Words i_words;
    std::size_t i_next = 0;
};

json Repeated(const Component& part) {
    json object = Named(part.name);
    if (!part.brackets.empty()) {
        object["count"] = part.brackets[0];
        object["step"] = part.step;
    }
    return object;
}

/** Fields with a name property, such as "k_bypass[2]", are elements of one field. */
json FieldsOf(const Component& word) {
    json fields = json::array();
    for (const Component& part : word.parts) {
        const auto name = part.properties.find("name");
        const unsigned low = part.brackets.at(1);
        if (name != part.properties.end() && name->second.find("[0]") == std::string::npos) {
            json& field = fields.back();
            field["count"] = field["count"].get<unsigned>() + 1;
            field["step"] =
                (low - field["shift"].get<unsigned>()) / (field["count"].get<unsigned>() - 1);
            continue;
        }
        fields.push_back(Named(name == part.properties.end()
                                   ? part.name
                                   : name->second.substr(1, name->second.find('[') - 1)));
        fields.back()["shift"] = low;
        fields.back()["mask"] = MaskOf(part.brackets[0] + 1 - low);
    }
    return fields;
}

json MemberOf(const Component& part) {
    json member = Repeated(part);
    member["memory"] = part.kind == "mem";
    member["offset"] = part.address;
    member["fields"] = FieldsOf(member["memory"] ? part.parts.at(0) : part);
    if (member["memory"]) {
        member["words"] = NumberOf(part.properties.at("mementries"));
    }
    return member;
}

}  // namespace

std::string LinesOfC(const std::string& text) {
    return FoldedLines(CReader(text).groups()).str();
}

std::string LinesOfCsv(const std::string& text) {
    std::set<std::string> seen;
    std::string lines;
    const auto once = [&](const std::string& line) {
        lines += seen.insert(line).second ? line + "\n" : "";
    };
    const auto rows = Cells(text);
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const std::vector<std::string>& c = rows[i];
        const std::string group = " Domain_" + c.at(0) + " Group_" + c.at(1) + " " + c.at(2);
        once("group" + group + " " + c.at(3));
        if (c.at(5).empty()) {
            continue;
        }
        const std::string member = group + " " + c.at(5) + " " + c.at(6);
        once(c.at(4) + member + " " + c.at(7) + (c.at(4) == "memory" ? " " + c.at(8) : ""));
        once("field" + member + " " + c.at(9) + " " + c.at(10) + " " + c.at(13) + " " + c.at(12));
        if (NumberOf(c.at(13)) != MaskOf(NumberOf(c.at(11)) + 1 - NumberOf(c.at(12)))) {
            throw std::runtime_error("mask and bits differ: " + member);
        }
    }
    return lines;
}

std::string LinesOfSvd(const std::string& text) {
    pugi::xml_document document;
    if (!document.load_string(text.c_str())) {
        throw std::runtime_error("not well-formed");
    }
    json groups = json::array();
    for (const pugi::xml_node peripheral : document.child("device").child("peripherals")) {
        groups.push_back(GroupOf(peripheral));
    }
    return FoldedLines(groups).str();
}

std::string LinesOfSystemRdl(const std::string& text) {
    json groups = json::array();
    for (const Component& domain : RdlReader(text).whole().parts) {
        for (const Component& part : domain.parts) {
            json group = Repeated(part);
            group["domain"] = domain.name;
            group["address"] = domain.address + part.address;
            group["members"] = json::array();
            for (const Component& member : part.parts) {
                group["members"].push_back(MemberOf(member));
            }
            groups.push_back(group);
        }
    }
    return FoldedLines(groups).str();
}

}  // namespace testsupport
