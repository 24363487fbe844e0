// Compares the designs with the tables. The expected values share no code with the generator: rows
// are split by scanf, addresses are summed up and masks are built bit by bit.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "src/card/velnor/hwmap/designs_test.h"

namespace hwmaptest {

namespace {

const char* const CATALOGUES[] = {"sbuf", "dbuf_video", "dbuf_dve", "dbuf_multiviewer"};

using Rows = std::vector<std::string>;

Rows RowsOf(const std::string& file) {
    std::ifstream stream(HWMAP_TABLES + file);
    if (!stream) {
        throw std::runtime_error("no table " + file);
    }
    Rows rows;
    for (std::string row; std::getline(stream, row);) {
        if (!row.empty() && row[0] != '#') {
            rows.push_back(row);
        }
    }
    return rows;
}

/** The rows of each body, by the rest of its first row: "g" or "g for m". */
std::map<std::string, Rows> Bodies() {
    std::map<std::string, Rows> bodies;
    for (const char* catalogue : CATALOGUES) {
        Rows* body = nullptr;
        for (const std::string& row : RowsOf(std::string(catalogue) + ".catalogue")) {
            if (row.rfind("group ", 0) == 0) {
                body = &bodies[row.substr(6)];
            } else if (row.rfind("about ", 0) != 0) {
                body->push_back(row);
            }
        }
    }
    return bodies;
}

/** The repeat in a row, or a single element. */
struct Times {
    unsigned int count = 1;
    unsigned int step = 0;
};

class Oracle {
  public:
    explicit Oracle(std::string map) : i_map(std::move(map)) {}

    std::vector<std::string> lines() {
        for (const std::string& row : RowsOf(i_map + ".placement")) {
            std::istringstream words(row);
            std::string first;
            std::string second;
            words >> first >> second;
            if (first == "domain") {
                i_domain = second;
                words >> second;
                i_base = std::stoull(second, nullptr, 0);
            } else if (row[0] == ' ') {
                addGroup(row);
            }
        }
        return i_lines;
    }

  private:
    void addGroup(const std::string& row) {
        char name[64] = "";
        unsigned int first = 0;
        Times times;
        (void)sscanf(row.c_str(), " %63s %x %u %x", name, &first, &times.count, &times.step);
        std::uint64_t address = i_base + first;
        for (unsigned int i = 0; i < times.count; ++i) {
            i_group = "Domain_" + i_domain + " Group_" + name + " " + std::to_string(i);
            add("group " + i_group, " 0x%" PRIx64, address);
            addMembers(name, address);
            address += times.step;
        }
    }

    void addMembers(const std::string& group, std::uint64_t address) {
        const auto own = i_bodies.find(group + " for " + i_map);
        const auto common = i_bodies.find(group);
        if (own != i_bodies.end() || common != i_bodies.end()) {
            for (const std::string& row : (own != i_bodies.end() ? own : common)->second) {
                addMember(row.c_str(), address);
            }
        }
    }

    void addMember(const char* row, std::uint64_t group) {
        char name[64] = "";
        unsigned int offset = 0;
        unsigned int words = 0;
        Times times;
        int end = 0;  // of the part that was read; 0 if there is none
        (void)sscanf(row, " %x %63s %n", &offset, name, &end);
        row += std::exchange(end, 0);
        (void)sscanf(row, "x%u+%x %n", &times.count, &times.step, &end);
        row += std::exchange(end, 0);
        (void)sscanf(row, "%u words %n", &words, &end);
        row += end;
        std::uint64_t address = group + offset;
        for (unsigned int i = 0; i < times.count; ++i) {
            const std::string subject = i_group + " " + name + " " + std::to_string(i);
            add((words > 0 ? "memory " : "register ") + subject, " 0x%" PRIx64, address);
            if (words > 0) {
                i_lines.back() += " " + std::to_string(words);
            }
            addFields(row, subject);
            address += times.step;
        }
    }

    void addFields(const std::string& cell, const std::string& subject) {
        std::istringstream fields(cell);
        for (std::string field; std::getline(fields >> std::ws, field, ',');) {
            char name[64] = "";
            unsigned int high = 0;
            unsigned int low = 0;
            Times times;
            if (sscanf(field.c_str(), "%63[^[][%u:%u]", name, &high, &low) == 2) {
                low = high;
            }
            (void)sscanf(field.c_str(), "%*s x%u+%u", &times.count, &times.step);
            addField(subject + " " + name, high, low, times);
        }
    }

    void addField(const std::string& subject, unsigned int high, unsigned int low, Times times) {
        std::uint64_t mask = 0;
        for (unsigned int bit = low; bit <= high; ++bit) {
            mask = mask * 2 + 1;
        }
        for (unsigned int i = 0; i < times.count; ++i) {
            add("field " + subject + " " + std::to_string(i), " 0x%" PRIx64, mask);
            i_lines.back() += " " + std::to_string(low);
            low += times.step;
        }
    }

    void add(const std::string& subject, const char* format, std::uint64_t number) {
        char text[32];
        (void)snprintf(text, sizeof(text), format, number);
        i_lines.push_back(subject + text);
    }

    std::string i_map;
    std::map<std::string, Rows> i_bodies = Bodies();
    std::string i_domain;
    std::uint64_t i_base = 0;
    std::string i_group;
    std::vector<std::string> i_lines;
};

TEST(Designs, FollowTheTables) {
    for (const DesignUnderTest& design : DESIGNS) {
        SCOPED_TRACE(design.name);
        const std::vector<std::string> lines = LinesOf(design);
        const std::vector<std::string> expected = Oracle(design.map).lines();
        ASSERT_EQ(lines.size(), expected.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            ASSERT_EQ(lines[i], expected[i]) << "in line " << i + 1;
        }
    }
}

}  // namespace

}  // namespace hwmaptest
