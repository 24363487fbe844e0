#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/**
 * The hardware tables as a model: what the FPGA's words are called and where they stand.
 *
 * Two kinds of table make it. A placement (NAME.placement) says for one address map which groups
 * stand where; a catalogue (NAME.catalogue) says what a group holds. The heads of the tables
 * explain their format. Offsets, steps and strides are in bytes, fields in bits, sizes of memories
 * in words of four bytes. The order of every vector is the order of the rows.
 */
namespace hwmaptables {

/** Where something was read, for messages. */
struct Origin {
    std::string file;
    unsigned int line = 0;
};

/** A count of 1 with step 0 is the single one. */
struct TableRepeat {
    std::uint32_t count = 1;
    std::uint32_t step = 0;

    bool isArray() const { return count > 1; }
};

/** What the data sheet says of the access to a field. */
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
    /** Right-aligned, of each element; nothing where the data sheet does not say. */
    std::optional<std::uint32_t> reset;

    /** The width of the field in low-order ones. */
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

/** What a group holds. */
struct Body {
    Origin origin;
    std::string group;
    /** The one map that the body is for; empty: every map that places the group. */
    std::string map;
    /** A group that is meant to hold nothing. */
    bool isEmpty = false;
    std::string about;
    std::vector<TableMember> members;
};

/** Where a group's instances stand. */
struct Placement {
    Origin origin;
    std::string group;
    std::uint32_t first = 0;
    std::uint32_t count = 1;
    /** 0 for a single instance. */
    std::uint32_t stride = 0;
    /** The instances lie inside each other's words, and are meant to. */
    bool mayOverlap = false;
    /** Users of a design see the group whole in the design's own header. */
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

    /** The body of a group in a map; null where there is none. */
    const Body* findBody(const TableMap& map, const std::string& group) const;
    /** The map that a design has; null where there is none. */
    const TableMap* findDesign(const std::string& design) const;
};

/** A table before it is read; the ending of its name says its kind. */
struct TableFile {
    std::string name;
    std::string text;
};

/** What is wrong with the tables, each as "file:line: text". */
class Findings {
  public:
    void add(const Origin& origin, const std::string& text);
    const std::vector<std::string>& lines() const { return i_lines; }

  private:
    std::vector<std::string> i_lines;
};

/** "file:line", to name the other offender of a finding. */
std::string ToString(const Origin& origin);

/**
 * Reads and checks tables. They are of use only where there are no findings: a row that can't be
 * read is left out.
 */
Tables ReadTables(const std::vector<TableFile>& files, Findings& findings);

}  // namespace hwmaptables
