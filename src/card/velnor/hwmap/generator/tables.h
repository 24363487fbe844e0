#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/**
 * The hardware tables as a model: the names and places of the FPGA's words.
 *
 * There are two kinds of table. A placement (NAME.placement) lists the groups of one address map
 * and their places; a catalogue (NAME.catalogue) lists the contents of groups. The first lines of
 * each table explain its format. Offsets, steps and strides are in bytes, fields in bits, sizes of
 * memories in words of four bytes. The order of every vector is the order of the rows.
 */
namespace hwmaptables {

/** The place where something was read, for messages. */
struct Origin {
    std::string file;
    unsigned int line = 0;
};

/** A count of 1 with step 0 is a single element. */
struct TableRepeat {
    std::uint32_t count = 1;
    std::uint32_t step = 0;

    bool isArray() const { return count > 1; }
};

/** The access to a field, according to the data sheet. */
enum e_Access {
    e_Access_Unstated,
    e_Access_ReadOnly,    // ro
    e_Access_WriteOnly,   // wo
    e_Access_ReadClears,  // rc
};

struct TableField {
    std::string name;
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    /** The step is in bits. */
    TableRepeat repeat;
    e_Access access = e_Access_Unstated;
    /** The reset value of each element, right-aligned; no value if the data sheet does not say. */
    std::optional<std::uint32_t> reset;

    /** As many low-order ones as the field has bits. */
    std::uint32_t mask() const { return 0xffffffffU >> (31U - (high - low)); }
};

/** A register, one word, or a memory, a run of words with one field. */
struct TableMember {
    Origin origin;
    std::string name;
    std::uint32_t offset = 0;
    TableRepeat repeat;
    std::uint32_t words = 1;
    std::string about;
    std::vector<TableField> fields;

    bool isRegister() const { return name.compare(0, 2, "R_") == 0; }
};

/** The contents of a group. */
struct Body {
    Origin origin;
    std::string group;
    /** The map that the body is for; empty if it is for every map that places the group. */
    std::string map;
    /** A group that is meant to hold nothing. */
    bool isEmpty = false;
    std::string about;
    std::vector<TableMember> members;
};

/** The places of a group's instances. */
struct Placement {
    Origin origin;
    std::string group;
    std::uint32_t first = 0;
    std::uint32_t count = 1;
    /** 0 for a single instance. */
    std::uint32_t stride = 0;
    /** The instances overlap on purpose. */
    bool mayOverlap = false;
    /** The design's lean header defines the group's classes; other groups it only declares. */
    bool isInline = false;
};

struct TableDomain {
    Origin origin;
    std::string name;
    std::uint32_t base = 0;
    std::vector<Placement> placements;
};

/** One address map, which several designs may share. */
struct TableMap {
    Origin origin;
    std::string name;
    std::vector<std::string> designs;
    std::vector<TableDomain> domains;
};

struct Tables {
    std::vector<Body> bodies;
    std::vector<TableMap> maps;

    /** The body of a group in a map; null if there is none. */
    const Body* findBody(const TableMap& map, const std::string& group) const;
    /** The map of a design; null if there is none. */
    const TableMap* findDesign(const std::string& design) const;
};

/** A table before it is read. The ending of its name is its kind. */
struct TableFile {
    std::string name;
    std::string text;
};

/** The errors in the tables, each as "file:line: text". */
class Findings {
  public:
    void add(const Origin& origin, const std::string& text);
    const std::vector<std::string>& lines() const { return i_lines; }

  private:
    std::vector<std::string> i_lines;
};

/** "file:line", to name the other row of a finding. */
std::string ToString(const Origin& origin);

/**
 * Reads and checks tables. The result is usable only if there are no findings: a row that can't be
 * read is left out.
 */
Tables ReadTables(const std::vector<TableFile>& files, Findings& findings);

}  // namespace hwmaptables
