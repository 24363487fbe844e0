// Holds the designs against the tables. What it computes from them shares nothing with the
// generator: rows are taken apart by patterns, addresses are counted up and masks are built bit by
// bit.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>
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
            } else {
                body->push_back(row);
            }
        }
    }
    return bodies;
}

/** How often something stands, and how far apart; one that stands alone has an empty count. */
std::uint64_t CountOf(const std::ssub_match& count) {
    return count.length() == 0 ? 1 : std::stoull(count.str());
}

std::uint64_t StepOf(const std::ssub_match& step) {
    return step.length() == 0 ? 0 : std::stoull(step.str(), nullptr, 0);
}

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
        static const std::regex PATTERN(R"( *(\w+) +(0x\w+)(?: +(\d+) +(0x\w+))?.*)");
        std::smatch cells;
        std::regex_match(row, cells, PATTERN);
        std::uint64_t address = i_base + StepOf(cells[2]);
        for (std::uint64_t i = 0; i < CountOf(cells[3]); ++i) {
            i_group = "Domain_" + i_domain + " Group_" + cells[1].str() + " " + std::to_string(i);
            add("group " + i_group, " 0x%" PRIx64, address);
            addMembers(cells[1], address);
            address += StepOf(cells[4]);
        }
    }

    void addMembers(const std::string& group, std::uint64_t address) {
        const auto own = i_bodies.find(group + " for " + i_map);
        const auto common = i_bodies.find(group);
        if (own != i_bodies.end() || common != i_bodies.end()) {
            for (const std::string& row : (own != i_bodies.end() ? own : common)->second) {
                addMember(row, address);
            }
        }
    }

    void addMember(const std::string& row, std::uint64_t group) {
        static const std::regex PATTERN(
            R"( *(0x\w+) +(\w+) +(?:x(\d+)\+(0x\w+) +)?(?:(\d+) words +)?(.*))");
        std::smatch cells;
        std::regex_match(row, cells, PATTERN);
        const bool isMemory = cells[5].matched;
        std::uint64_t address = group + StepOf(cells[1]);
        for (std::uint64_t i = 0; i < CountOf(cells[3]); ++i) {
            const std::string subject = i_group + " " + cells[2].str() + " " + std::to_string(i);
            add((isMemory ? "memory " : "register ") + subject, " 0x%" PRIx64, address);
            if (isMemory) {
                i_lines.back() += " " + cells[5].str();
            }
            addFields(cells[6], subject);
            address += StepOf(cells[4]);
        }
    }

    void addFields(std::string cell, const std::string& subject) {
        static const std::regex PATTERN(R"((\w+)\[(\d+)(?::(\d+))?\](?: x(\d+)\+(\d+))?)");
        for (std::smatch f; std::regex_search(cell, f, PATTERN); cell = f.suffix()) {
            const std::uint64_t high = std::stoull(f[2]);
            std::uint64_t low = f[3].matched ? std::stoull(f[3]) : high;
            std::uint64_t mask = 0;
            for (std::uint64_t bit = low; bit <= high; ++bit) {
                mask = mask * 2 + 1;
            }
            for (std::uint64_t i = 0; i < CountOf(f[4]); ++i) {
                add("field " + subject + " " + f[1].str() + " " + std::to_string(i), " 0x%" PRIx64,
                    mask);
                i_lines.back() += " " + std::to_string(low);
                low += StepOf(f[5]);
            }
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
