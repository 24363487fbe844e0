#pragma once

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

namespace testsupport {

/** The address, offset or shift of element `i`. */
inline unsigned At(const nlohmann::json& object, const char* first, unsigned i) {
    return object[first].get<unsigned>() + i * object["step"].get<unsigned>();
}

/** Unfolds the groups of a map, with the keys of the atlas pages, into the lines of a dump. */
class FoldedLines {
  public:
    explicit FoldedLines(const nlohmann::json& groups) {
        for (const nlohmann::json& group : groups) {
            for (unsigned i = 0; i < group["count"]; ++i) {
                i_group = " Domain_" + text(group, "domain") + " Group_" + text(group, "name") +
                          " " + std::to_string(i);
                i_text << "group" << i_group << hex(At(group, "address", i)) << '\n';
                for (const nlohmann::json& member : group["members"]) {
                    add(member, At(group, "address", i));
                }
            }
        }
    }
    std::string str() const { return i_text.str(); }

  private:
    static std::string text(const nlohmann::json& object, const char* key) {
        return object[key].get<std::string>();
    }
    static std::string hex(unsigned number) {
        std::ostringstream text;
        text << " 0x" << std::hex << number;
        return text.str();
    }
    void add(const nlohmann::json& member, unsigned groupAddress) {
        for (unsigned j = 0; j < member["count"]; ++j) {
            const std::string owner =
                i_group + " " + text(member, "name") + " " + std::to_string(j);
            i_text << (member["memory"] ? "memory" : "register") << owner
                   << hex(groupAddress + At(member, "offset", j));
            if (member["memory"]) {
                i_text << ' ' << member["words"];
            }
            i_text << '\n';
            for (const nlohmann::json& field : member["fields"]) {
                for (unsigned k = 0; k < field["count"]; ++k) {
                    i_text << "field" << owner << ' ' << text(field, "name") << ' ' << k
                           << hex(field["mask"]) << ' ' << At(field, "shift", k) << '\n';
                }
            }
        }
    }

    std::string i_group;
    std::ostringstream i_text;
};

}  // namespace testsupport
