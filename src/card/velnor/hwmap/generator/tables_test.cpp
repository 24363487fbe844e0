#include "src/card/velnor/hwmap/generator/tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using hwmaptables::Body;
using hwmaptables::Findings;
using hwmaptables::Placement;
using hwmaptables::ReadTables;
using hwmaptables::TableMember;
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

TEST(Tables, HoldsWhatTheRowsSay) {
    Findings findings;
    const Tables tables = Read(
        "# a comment\n"
        "g 0x80 2 0x80 inline   # another\n"
        "h 512\n",
        "group g\n"
        "\n"
        "  0x10 R_b x2+0x8  lo[3:0] x3+10, top[31]\n"
        "  0x20 coef x4+16  2 words value[31:0]\n"
        "group h empty\n",
        findings);
    ASSERT_THAT(findings.lines(), IsEmpty());

    EXPECT_EQ(tables.findDesign("e"), &tables.maps[0]);
    EXPECT_EQ(tables.findDesign("m"), nullptr);
    EXPECT_EQ(tables.maps[0].domains[0].base, 0x100U);
    const Placement& g = tables.maps[0].domains[0].placements[0];
    EXPECT_EQ(g.first, 0x80U);
    EXPECT_EQ(g.count, 2U);
    EXPECT_EQ(g.stride, 0x80U);
    EXPECT_TRUE(g.isInline);
    EXPECT_FALSE(g.mayOverlap);
    EXPECT_EQ(tables.maps[0].domains[0].placements[1].first, 512U);

    const Body& body = *tables.findBody(tables.maps[0], "g");
    const TableMember& word = body.members[0];
    EXPECT_TRUE(word.isRegister());
    EXPECT_EQ(word.offset, 0x10U);
    EXPECT_EQ(word.repeat.count, 2U);
    EXPECT_EQ(word.repeat.step, 8U);
    EXPECT_EQ(word.fields[0].low, 0U);
    EXPECT_EQ(word.fields[0].mask(), 0xfU);
    EXPECT_EQ(word.fields[0].repeat.count, 3U);
    EXPECT_EQ(word.fields[0].repeat.step, 10U);
    EXPECT_EQ(word.fields[1].low, 31U);
    EXPECT_EQ(word.fields[1].mask(), 1U);
    const TableMember& memory = body.members[1];
    EXPECT_FALSE(memory.isRegister());
    EXPECT_EQ(memory.words, 2U);
    EXPECT_EQ(memory.fields[0].mask(), 0xffffffffU);
    EXPECT_TRUE(tables.findBody(tables.maps[0], "h")->isEmpty);
}

TEST(Tables, HoldsWhatTheDataSheetSays) {
    Findings findings;
    const Tables tables = Read("g 0\n",
                               "group g\nabout one, two  # a comment\nabout three\n"
                               "0 R_a v[3:0] x2+4 ro =0xf, w[9] =1, x[10] rc, y[11] wo\n"
                               "about \"four\"\n"
                               "4 R_b v[0]\n",
                               findings);
    ASSERT_THAT(findings.lines(), IsEmpty());
    const Body& body = tables.bodies[0];
    EXPECT_EQ(body.about, "one, two three");
    EXPECT_EQ(body.members[0].about, "\"four\"");
    const std::vector<hwmaptables::TableField>& fields = body.members[0].fields;
    EXPECT_EQ(fields[0].access, hwmaptables::e_Access_ReadOnly);
    EXPECT_EQ(fields[0].reset, 0xfU);
    EXPECT_EQ(fields[1].access, hwmaptables::e_Access_Unstated);
    EXPECT_EQ(fields[1].reset, 1U);
    EXPECT_EQ(fields[2].access, hwmaptables::e_Access_ReadClears);
    EXPECT_FALSE(fields[2].reset.has_value());
    EXPECT_EQ(fields[3].access, hwmaptables::e_Access_WriteOnly);
    EXPECT_EQ(body.members[1].about, "");
}

TEST(Tables, TakesTheBodyOfTheMap) {
    Findings findings;
    const Tables tables = ReadTables({{"a.placement", "map a\ndesigns x\ndomain sbuf 0\ng 0\n"},
                                      {"b.placement", "map b\ndesigns y\ndomain sbuf 0\ng 0\n"},
                                      {"c.catalogue",
                                       "group g for b\n0 R_wide v[31:0]\n"
                                       "group g for a\n0 R_narrow v[0]\n"}},
                                     findings);
    ASSERT_THAT(findings.lines(), IsEmpty());
    EXPECT_EQ(tables.findBody(tables.maps[0], "g")->members[0].name, "R_narrow");
    EXPECT_EQ(tables.findBody(tables.maps[1], "g")->members[0].name, "R_wide");
}

TEST(Tables, MayInterleaveAndMayOverlapWhereMarked) {
    Findings findings;
    Read("g 0x0\nwindow 0x80 2 0x80 overlap\n",
         "group g\n0 R_even x4+8 v[3:0] x5+7\n4 R_odd x4+8 v[0]\n"
         "group window\n0 dram 100 words v[31:0]\n",
         findings);
    EXPECT_THAT(findings.lines(), IsEmpty());
}

struct RefusalCase {
    const char* placementRows;
    const char* catalogue;
    const char* finding;
};

const char GOOD_ROW[] = "g 0x0\n";
const char GOOD_BODY[] = "group g\n0 R_a v[0]\n";

const RefusalCase WRONG_VALUES[] = {
    {GOOD_ROW, "group g\n0x0 R_a v[3:4]\n",
     "c.catalogue:2: field 'v' of 'R_a': high bit 3 is below low bit 4"},
    {GOOD_ROW, "group g\n0x0 R_a v[32:4]\n",
     "c.catalogue:2: field 'v' of 'R_a' reaches bit 32, past bit 31"},
    {GOOD_ROW, "group g\n0x0 R_a v[4:0] x5+7\n",
     "c.catalogue:2: field 'v' element 4 of 'R_a' reaches bit 32, past bit 31"},
    {GOOD_ROW, "group g\n0x0 R_a v[7:0], w[9:7]\n",
     "c.catalogue:2: field 'w' overlaps field 'v' in bit 7 of 'R_a'"},
    {GOOD_ROW, "group g\n0x0 R_a v[0] x3+4, w[9:7]\n",
     "c.catalogue:2: field 'w' overlaps field 'v' element 2 in bit 8 of 'R_a'"},
    {GOOD_ROW, "group g\n0x0 R_a v[3:0] x2+3\n",
     "c.catalogue:2: field 'v' element 1 overlaps field 'v' element 0 in bit 3 of 'R_a'"},
    {GOOD_ROW, "group g\n0x0 R_a v[3:0] ro =0x10\n",
     "c.catalogue:2: value after reset 0x10 of field 'v' of 'R_a' is more than its bits hold"},
    {GOOD_ROW, "group g\n0x0 R_a v[3:0] =\n",
     "c.catalogue:2: expected a value after reset, =NUMBER, found '='"},
    {GOOD_ROW, "group g\nabout\n0x0 R_a v[0]\n",
     "c.catalogue:2: expected a text, found the end of the row"},
    {GOOD_ROW, "group g\n0x6 R_a v[0]\n",
     "c.catalogue:2: offset of 'R_a' 0x6 is not a multiple of the word's 4 bytes"},
    {GOOD_ROW, "group g\n0x0 R_a x2+0x5 v[0]\n",
     "c.catalogue:2: step of 'R_a' 0x5 is not a multiple of the word's 4 bytes"},
    {"g 0x2\n", GOOD_BODY,
     "m.placement:4: first offset of 'g' 0x2 is not a multiple of the word's 4 bytes"},
    {"g 0x0 2 0x6\n", GOOD_BODY,
     "m.placement:4: stride of 'g' 0x6 is not a multiple of the word's 4 bytes"},
    {"g 0x40 2 0x80\n", GOOD_BODY,
     "m.placement:4: first offset 0x40 of 'g' is not a multiple of its stride 0x80"},
    {"g 0x40 2 0\n", GOOD_BODY,
     "m.placement:4: first offset 0x40 of 'g' is not a multiple of its stride 0x0"},
    {"g 0x0 256 0x800\n", "group g\n0 R_a x256+4 v[0]\n0x400 R_b x256+4 v[0]\n",
     "m.placement:1: map 'm' places 131072 registers and memories, more than 65536"},
};

const RefusalCase OVERLAPS[] = {
    {GOOD_ROW, "group g\n0x8 mem 4 words v[0]\n0x14 R_b v[0]\n",
     "c.catalogue:3: 'R_b' overlaps 'mem' (c.catalogue:2) at offset 0x14 of group 'g'"},
    {GOOD_ROW, "group g\n0x8 R_b v[0]\n0x0 R_a x3+4 v[0]\n",
     "c.catalogue:3: 'R_a' element 2 overlaps 'R_b' (c.catalogue:2) at offset 0x8 of group 'g'"},
    {GOOD_ROW, "group g\n0x0 mem x2+0x8 4 words v[0]\n",
     "c.catalogue:2: 'mem' element 1 overlaps 'mem' element 0 (c.catalogue:2) at offset 0x8 of "
     "group 'g'"},
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
    {"g 0x0 2 0x8 overlap\n", GOOD_BODY,
     "m.placement:4: instances of 'g' are marked overlap and do not overlap"},
};

const RefusalCase STRAYS_AND_DUPLICATES[] = {
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
    {"g 0x0\ng 0x10\n", GOOD_BODY, "m.placement:5: group 'g' stands already at m.placement:4"},
    {"g 0x0\ndomain sbuf 0x200\n", GOOD_BODY,
     "m.placement:5: domain 'sbuf' stands already at m.placement:3"},
    {GOOD_ROW, "group g\n0 R_a v[0]\ngroup g\n0 R_a v[0]\n",
     "c.catalogue:3: group 'g' stands already at c.catalogue:1"},
    {GOOD_ROW, "group g for m\n0 R_a v[0]\ngroup g\n0 R_a v[0]\n",
     "c.catalogue:1: group 'g' for 'm' has a body for every map already at c.catalogue:3"},
    {GOOD_ROW, "group g\n0 R_a v[0]\n4 R_b v[0]\n8 R_a v[0]\n",
     "c.catalogue:4: member 'R_a' stands already at c.catalogue:2"},
    {GOOD_ROW, "group g\n0 R_a v[0], v[1]\n",
     "c.catalogue:2: field 'v' stands already at c.catalogue:2"},
    {GOOD_ROW, "group g\n0 mem 4 words v[0], w[1]\n",
     "c.catalogue:2: memory 'mem' has more than one field"},
    {GOOD_ROW, "group g\n0 mem 4 words v[0] x2+1\n",
     "c.catalogue:2: memory 'mem' has more than one field"},
};

const RefusalCase NAMES[] = {
    {"register 0x0\n", "group register\n0 R_a v[0]\n",
     "m.placement:4: group 'register' is the C++ word 'register'"},
    {GOOD_ROW, "group g\n0 volatile 1 words v[0]\n",
     "c.catalogue:2: member 'volatile' is the C++ word 'volatile'"},
    {GOOD_ROW, "group g\n0 R_a and[0]\n", "c.catalogue:2: field 'and' is the C++ word 'and'"},
    {GOOD_ROW, "group g\n0 R_a 3g[0]\n", "c.catalogue:2: field '3g' is no identifier"},
    {GOOD_ROW, "group g\n0 R_a v__w[0]\n", "c.catalogue:2: field 'v__w' is no identifier"},
    {GOOD_ROW, "group g\n0 R_a get[0]\n",
     "c.catalogue:2: field 'get' clashes with the member 'get' of its generated class"},
    {GOOD_ROW, "group g\n0 R_a absoluteAddress[0]\n",
     "c.catalogue:2: field 'absoluteAddress' clashes with the member 'absoluteAddress' of its "
     "generated class"},
    {GOOD_ROW, "group g\n0 mem 1 words getraw[0]\n",
     "c.catalogue:2: field 'getraw' clashes with the member 'getraw' of its generated class"},
    {GOOD_ROW, "group g\n0 NUM_INSTANCES 1 words v[0]\n",
     "c.catalogue:2: member 'NUM_INSTANCES' clashes with the member 'NUM_INSTANCES' of its "
     "generated class"},
    {GOOD_ROW, "group g\n0 R_a i_word[0]\n",
     "c.catalogue:2: field 'i_word' clashes with the generated names that begin with 'i_'"},
    {GOOD_ROW, "group g\n0 Register_R_a 1 words v[0]\n4 R_a v[0]\n",
     "c.catalogue:2: member 'Register_R_a' clashes with the generated names that begin with "
     "'Register_'"},
};

const RefusalCase UNREADABLE_ROWS[] = {
    {"g\n", GOOD_BODY,
     "m.placement:4: expected the first offset in bytes, found the end of the row"},
    {"g 0x0 2\n", GOOD_BODY,
     "m.placement:4: expected the stride in bytes, found the end of the row"},
    {"g 0x0 1 0x10\n", GOOD_BODY, "m.placement:4: expected a count from 2 to 256, found '1'"},
    {"g 0x0 257 0x10\n", GOOD_BODY, "m.placement:4: expected a count from 2 to 256, found '257'"},
    {"g 0x0 whole\n", GOOD_BODY, "m.placement:4: expected the end of the row, found 'whole'"},
    {"domain\n", GOOD_BODY,
     "m.placement:4: expected the name of a domain, found the end of the row"},
    {GOOD_ROW, "0 R_a v[0]\n", "c.catalogue:1: expected group, found '0'"},
    {GOOD_ROW, "group g until m\n", "c.catalogue:1: expected the end of the row, found 'until'"},
    {GOOD_ROW, "group g\n010 R_a v[0]\n",
     "c.catalogue:2: expected the offset of a member in bytes, found '010'"},
    {GOOD_ROW, "group g\n1f R_a v[0]\n",
     "c.catalogue:2: expected the offset of a member in bytes, found '1f'"},
    {GOOD_ROW, "group g\n0x100000000 R_a v[0]\n",
     "c.catalogue:2: expected the offset of a member in bytes, found '0x100000000'"},
    {GOOD_ROW, "group g\n0 R_a\n",
     "c.catalogue:2: expected a field, name[hi:lo] or name[bit], found the end of the row"},
    {GOOD_ROW, "group g\n0 R_a v[0],\n",
     "c.catalogue:2: expected a field, name[hi:lo] or name[bit], found the end of the row"},
    {GOOD_ROW, "group g\n0 R_a v[3:]\n",
     "c.catalogue:2: expected bits of a field, [hi:lo] or [bit], found 'v[3:]'"},
    {GOOD_ROW, "group g\n0 R_a v]0[\n",
     "c.catalogue:2: expected a field, name[hi:lo] or name[bit], found 'v]0['"},
    {GOOD_ROW, "group g\n0 R_a v[0] w[1]\n",
     "c.catalogue:2: expected the end of the row, found 'w[1]'"},
    {GOOD_ROW, "group g\n0 R_a x2+ v[0]\n",
     "c.catalogue:2: expected a repeat, xN+STEP, found 'x2+'"},
    {GOOD_ROW, "group g\n0 R_a x0+4 v[0]\n",
     "c.catalogue:2: expected a count from 2 to 256, found '0'"},
    {GOOD_ROW, "group g\n0 R_a 4 words v[0]\n",
     "c.catalogue:2: expected a field, name[hi:lo] or name[bit], found '4'"},
    {GOOD_ROW, "group g\n0 mem v[0]\n",
     "c.catalogue:2: expected the words of a memory (a register's name begins with R_), found "
     "'v[0]'"},
    {GOOD_ROW, "group g\n0 mem 0 words v[0]\n",
     "c.catalogue:2: expected a size of one word or more, found '0'"},
};

template <std::size_t n>
void ExpectRefused(const RefusalCase (&cases)[n]) {
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.finding);
        Findings findings;
        Read(c.placementRows, c.catalogue, findings);
        EXPECT_THAT(findings.lines(), Contains(c.finding));
    }
}

TEST(Tables, RefusesWrongValues) {
    ExpectRefused(WRONG_VALUES);
}
TEST(Tables, RefusesOverlaps) {
    ExpectRefused(OVERLAPS);
}
TEST(Tables, RefusesStraysAndDuplicates) {
    ExpectRefused(STRAYS_AND_DUPLICATES);
}
TEST(Tables, RefusesNames) {
    ExpectRefused(NAMES);
}
TEST(Tables, RefusesUnreadableRows) {
    ExpectRefused(UNREADABLE_ROWS);
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
                            "b.placement:1: map 'm' stands already at a.placement:1",
                            "b.placement:1: design 'd' stands already at a.placement:1",
                            "b.placement:1: design 'e' stands already at a.placement:1"));
}

}  // namespace
