#include "src/card/velnor/hwmap/generator/tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using hwmaptables::Findings;
using hwmaptables::ReadTables;
using hwmaptables::Tables;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/** The rows of a placement begin at line 4. */
const std::string PLACEMENT_HEAD = "map m\ndesigns d e\ndomain sbuf 0x100\n";

Tables Read(const std::string& placementRows, const std::string& catalogue, Findings& findings) {
    return ReadTables({{"m.placement", PLACEMENT_HEAD + placementRows}, {"c.catalogue", catalogue}},
                      findings);
}

// Designs.FollowTheTables compares the rows with the designs. These are only the exceptions.
TEST(Tables, AllowsCommentsInterleavingAndMarkedOverlaps) {
    Findings findings;
    const Tables tables =
        Read("# a comment\ng 0   # another\n\nwindow 0x80 2 0x80 overlap\nh 512\n",
             "group g\n0 R_even x4+8 v[3:0] x5+7\n  4 R_odd x4+8  v[0]\n"
             "group window\n0 dram 100 words v[31:0]\ngroup h empty\n",
             findings);
    EXPECT_THAT(findings.lines(), IsEmpty());
    EXPECT_EQ(tables.maps[0].domains[0].placements[2].first, 512U);
    EXPECT_EQ(tables.findDesign("e"), &tables.maps[0]);
    EXPECT_EQ(tables.findDesign("m"), nullptr);
}

const char GOOD_ROW[] = "g 0x0\n";
const char GOOD_BODY[] = "group g\n0 R_a v[0]\n";

void ExpectRefused(const std::string& placementRows, const std::string& catalogue,
                   const std::string& finding) {
    SCOPED_TRACE(finding);
    Findings findings;
    Read(placementRows, catalogue, findings);
    EXPECT_THAT(findings.lines(), Contains(finding));
}

struct RowCase {
    const char* row;
    const char* finding;  // without file and line
};

const RowCase MEMBER_ROWS[] = {
    {"0x0 R_a v[3:4]", "field 'v' of 'R_a': high bit 3 is below low bit 4"},
    {"0x0 R_a v[32:4]", "field 'v' of 'R_a' reaches bit 32, past bit 31"},
    {"0x0 R_a v[4:0] x5+7", "field 'v' element 4 of 'R_a' reaches bit 32, past bit 31"},
    {"0x0 R_a v[7:0], w[9:7]", "field 'w' overlaps field 'v' in bit 7 of 'R_a'"},
    {"0x0 R_a v[0] x3+4, w[9:7]", "field 'w' overlaps field 'v' element 2 in bit 8 of 'R_a'"},
    {"0x0 R_a v[3:0] x2+3", "field 'v' element 1 overlaps field 'v' element 0 in bit 3 of 'R_a'"},
    {"0x0 R_a v[3:0] ro =0x10",
     "value after reset 0x10 of field 'v' of 'R_a' is more than its bits hold"},
    {"0x0 R_a v[3:0] =", "expected a value after reset, =NUMBER, found '='"},
    {"about\n0x0 R_a v[0]", "expected a text, found the end of the row"},
    {"0x6 R_a v[0]", "offset of 'R_a' 0x6 is not a multiple of the word's 4 bytes"},
    {"0x0 R_a x2+0x5 v[0]", "step of 'R_a' 0x5 is not a multiple of the word's 4 bytes"},
    {"0x0 mem x2+0x8 4 words v[0]",
     "'mem' element 1 overlaps 'mem' element 0 (c.catalogue:2) at offset 0x8 of group 'g'"},
    {"0 R_a v[0], v[1]", "field 'v' is already defined at c.catalogue:2"},
    {"0 mem 4 words v[0], w[1]", "memory 'mem' has more than one field"},
    {"0 mem 4 words v[0] x2+1", "memory 'mem' has more than one field"},

    {"0 volatile 1 words v[0]", "member 'volatile' is the C++ word 'volatile'"},
    {"0 R_a and[0]", "field 'and' is the C++ word 'and'"},
    {"0 R_a 3g[0]", "field '3g' is not an identifier"},
    {"0 R_a v__w[0]", "field 'v__w' is not an identifier"},
    {"0 R_a get[0]", "field 'get' clashes with the member 'get' of its generated class"},
    {"0 R_a absoluteAddress[0]",
     "field 'absoluteAddress' clashes with the member 'absoluteAddress' of its generated class"},
    {"0 mem 1 words getraw[0]",
     "field 'getraw' clashes with the member 'getraw' of its generated class"},
    {"0 NUM_INSTANCES 1 words v[0]",
     "member 'NUM_INSTANCES' clashes with the member 'NUM_INSTANCES' of its generated class"},
    {"0 R_a i_word[0]", "field 'i_word' clashes with the generated names that begin with 'i_'"},
    {"0 Register_R_a 1 words v[0]\n4 R_a v[0]",
     "member 'Register_R_a' clashes with the generated names that begin with 'Register_'"},

    {"010 R_a v[0]", "expected the offset of a member in bytes, found '010'"},
    {"1f R_a v[0]", "expected the offset of a member in bytes, found '1f'"},
    {"0x100000000 R_a v[0]", "expected the offset of a member in bytes, found '0x100000000'"},
    {"0 R_a", "expected a field, name[hi:lo] or name[bit], found the end of the row"},
    {"0 R_a v[0],", "expected a field, name[hi:lo] or name[bit], found the end of the row"},
    {"0 R_a v[3:]", "expected bits of a field, [hi:lo] or [bit], found 'v[3:]'"},
    {"0 R_a v]0[", "expected a field, name[hi:lo] or name[bit], found 'v]0['"},
    {"0 R_a v[0] w[1]", "expected the end of the row, found 'w[1]'"},
    {"0 R_a x2+ v[0]", "expected a repeat, xN+STEP, found 'x2+'"},
    {"0 R_a x0+4 v[0]", "expected a count from 2 to 256, found '0'"},
    {"0 R_a 4 words v[0]", "expected a field, name[hi:lo] or name[bit], found '4'"},
    {"0 mem v[0]",
     "expected the words of a memory (a register's name begins with R_), found 'v[0]'"},
    {"0 mem 0 words v[0]", "expected a size of one word or more, found '0'"},
};

TEST(Tables, RefusesMemberRows) {
    for (const RowCase& c : MEMBER_ROWS) {
        ExpectRefused(GOOD_ROW, "group g\n" + std::string(c.row) + "\n",
                      "c.catalogue:2: " + std::string(c.finding));
    }
}

const RowCase PLACEMENT_ROWS[] = {
    {"g 0x2", "first offset of 'g' 0x2 is not a multiple of the word's 4 bytes"},
    {"g 0x0 2 0x6", "stride of 'g' 0x6 is not a multiple of the word's 4 bytes"},
    {"g 0x40 2 0x80", "first offset 0x40 of 'g' is not a multiple of its stride 0x80"},
    {"g 0x40 2 0", "first offset 0x40 of 'g' is not a multiple of its stride 0x0"},
    {"g 0x0 2 0x8 overlap", "instances of 'g' are marked overlap and do not overlap"},
    {"g", "expected the first offset in bytes, found the end of the row"},
    {"g 0x0 2", "expected the stride in bytes, found the end of the row"},
    {"g 0x0 1 0x10", "expected a count from 2 to 256, found '1'"},
    {"g 0x0 257 0x10", "expected a count from 2 to 256, found '257'"},
    {"g 0x0 whole", "expected the end of the row, found 'whole'"},
    {"domain", "expected the name of a domain, found the end of the row"},
};

TEST(Tables, RefusesPlacementRows) {
    for (const RowCase& c : PLACEMENT_ROWS) {
        ExpectRefused(std::string(c.row) + "\n", GOOD_BODY,
                      "m.placement:4: " + std::string(c.finding));
    }
}

const struct {
    const char* placementRows;
    const char* catalogue;
    const char* finding;
} ROWS_THAT_DO_NOT_MATCH[] = {
    {GOOD_ROW, "group g\n0x8 mem 4 words v[0]\n0x14 R_b v[0]\n",
     "c.catalogue:3: 'R_b' overlaps 'mem' (c.catalogue:2) at offset 0x14 of group 'g'"},
    {GOOD_ROW, "group g\n0x8 R_b v[0]\n0x0 R_a x3+4 v[0]\n",
     "c.catalogue:3: 'R_a' element 2 overlaps 'R_b' (c.catalogue:2) at offset 0x8 of group 'g'"},
    {"g 0x0 2 0x8\n", "group g\n0 mem 3 words v[0]\n",
     "m.placement:4: instance 1 of 'g' overlaps instance 0 of 'g' (m.placement:4) at address "
     "0x108"},
    {"g 0x0 3 0x20\nh 0x40\n", "group g\n0 R_a v[0]\ngroup h\n0 R_a v[0]\n",
     "m.placement:5: instance 0 of 'h' overlaps instance 2 of 'g' (m.placement:4) at address "
     "0x140"},
    {"g 0x0 2 0x80 overlap\nh 0x100\n", "group g\n0 mem 128 words v[0]\ngroup h\n0 R_a v[0]\n",
     "m.placement:5: instance 0 of 'h' overlaps instance 1 of 'g' (m.placement:4) at address "
     "0x200"},
    {"g 0x40\ndomain dbuf 0x140\nh 0x0\n", "group g\n0 R_a v[0]\ngroup h\n0 R_a v[0]\n",
     "m.placement:6: instance 0 of 'h' overlaps instance 0 of 'g' (m.placement:4) at address "
     "0x140"},
    {"g 0x0 256 0x800\n", "group g\n0 R_a x256+4 v[0]\n0x400 R_b x256+4 v[0]\n",
     "m.placement:1: map 'm' places 131072 registers and memories, more than 65536"},

    {"g 0x0\nh 0x10\n", GOOD_BODY, "m.placement:5: group 'h' has no body for the map 'm'"},
    {GOOD_ROW, "group g for other\n0 R_a v[0]\n",
     "m.placement:4: group 'g' has no body for the map 'm'"},
    {GOOD_ROW, "group g\n0 R_a v[0]\ngroup h\n0 R_a v[0]\n",
     "c.catalogue:3: group 'h' is not used: no map places it"},
    {GOOD_ROW, "group g for m\n0 R_a v[0]\ngroup g for n\n0 R_a v[0]\n",
     "c.catalogue:3: group 'g' is not used: no map 'n' places it"},
    {GOOD_ROW, "group g\n", "c.catalogue:1: group 'g' has no members and is not marked empty"},
    {GOOD_ROW, "group g empty\n0 R_a v[0]\n",
     "c.catalogue:1: group 'g' is marked empty and has members"},
    {"g 0x0\ng 0x10\n", GOOD_BODY, "m.placement:5: group 'g' is already defined at m.placement:4"},
    {"g 0x0\ndomain sbuf 0x200\n", GOOD_BODY,
     "m.placement:5: domain 'sbuf' is already defined at m.placement:3"},
    {GOOD_ROW, "group g\n0 R_a v[0]\ngroup g\n0 R_a v[0]\n",
     "c.catalogue:3: group 'g' is already defined at c.catalogue:1"},
    {GOOD_ROW, "group g for m\n0 R_a v[0]\ngroup g\n0 R_a v[0]\n",
     "c.catalogue:1: group 'g' for 'm' already has a body for every map at c.catalogue:3"},
    {GOOD_ROW, "group g\n0 R_a v[0]\n4 R_b v[0]\n8 R_a v[0]\n",
     "c.catalogue:4: member 'R_a' is already defined at c.catalogue:2"},
    {"register 0x0\n", "group register\n0 R_a v[0]\n",
     "m.placement:4: group 'register' is the C++ word 'register'"},
    {GOOD_ROW, "0 R_a v[0]\n", "c.catalogue:1: expected group, found '0'"},
    {GOOD_ROW, "group g until m\n", "c.catalogue:1: expected the end of the row, found 'until'"},
};

TEST(Tables, RefusesRowsThatDoNotMatch) {
    for (const auto& c : ROWS_THAT_DO_NOT_MATCH) {
        ExpectRefused(c.placementRows, c.catalogue, c.finding);
    }
}

TEST(Tables, RefusesDuplicateMapsAndOtherFiles) {
    const std::string placement = PLACEMENT_HEAD + GOOD_ROW;
    Findings findings;
    ReadTables({{"a.placement", placement},
                {"b.placement", placement},
                {"c.catalogue", GOOD_BODY},
                {"d.placement", "# nothing\n"},
                {"notes.txt", ""}},
               findings);
    EXPECT_THAT(findings.lines(),
                ElementsAre("d.placement:1: no map or no designs are named",
                            "notes.txt:1: neither a .placement nor a .catalogue",
                            "b.placement:1: map 'm' is already defined at a.placement:1",
                            "b.placement:1: design 'd' is already defined at a.placement:1",
                            "b.placement:1: design 'e' is already defined at a.placement:1"));
}

}  // namespace
