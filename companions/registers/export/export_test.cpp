/** Reads each format back, and checks it with a compiler or a schema. */
#include "companions/registers/export/export.h"

#include <gmock/gmock.h>

#include "companions/registers/export/readers.h"
#include "companions/registers/velnor_regs/failure.h"
#include "tests/support/process.h"
#include "tests/support/testdirectory.h"

using testing::HasSubstr;
using testsupport::RunProcess;

namespace {

class Export : public testing::Test {
  protected:
    std::string regs(const std::vector<std::string>& arguments) const {
        return RunProcess(VELNOR_REGS, arguments, i_directory.path("")).out;
    }
    std::string exported(const std::string& format, const std::string& design) const {
        return regs({"export", "--format", format, "--design", design});
    }
    /** The program's error output for the file; empty if it accepts it. */
    std::string complaints(const std::string& program, std::vector<std::string> arguments,
                           const std::string& file, const std::string& text) const {
        arguments.push_back(i_directory.write(file, text));
        const testsupport::ProcessResult result =
            RunProcess(program, arguments, i_directory.path(""));
        return result.exitValue == 0 ? "" : result.err;
    }

    testsupport::TestDirectory i_directory;
};

TEST_F(Export, HoldsEveryObjectInEachFormat) {
    const std::pair<const char*, std::string (*)(const std::string& text)> readers[] = {
        {"c", testsupport::LinesOfC},
        {"csv", testsupport::LinesOfCsv},
        {"svd", testsupport::LinesOfSvd},
        {"systemrdl", testsupport::LinesOfSystemRdl},
    };
    for (const char* design : {"mm_fcfs", "dve", "dve_3g", "dve_2_5", "dve_3g_2_5"}) {
        const std::string dump = regs({"dump", design});
        for (const auto& [format, read] : readers) {
            EXPECT_TRUE(read(exported(format, design)) == dump) << format << ' ' << design;
        }
    }
}

TEST_F(Export, WritesAHeaderForCAndForCxx) {
    i_directory.write("map.h", exported("c", "dve") + exported("c", "mm_fcfs"));
    // The addresses are the data sheet's.
    const char checks[] = R"(
#include "map.h"
#define CHECK(name, condition) typedef char name[(condition) ? 1 : -1]
CHECK(lastByte, VELNOR_DVE_DBUF_DVE_HCOEF_HOR_CHROMA_COEF_DVE_AT(2, 1 + 2) + 5 * 4 == 0x2b594u);
CHECK(mailbox, VELNOR_DVE_SBUF_SHELF_STATUS_SHELF_STATUS_SPI_VALUES_ADDRESS == 0x2800u);
CHECK(words, VELNOR_MM_FCFS_SBUF_SHELF_STATUS_SHELF_STATUS_SPI_VALUES_WORDS == 32u);
CHECK(mask, VELNOR_DVE_SBUF_CHIP_MISC_R_DDR0_BUFF_STAT_DDR0_WR_OVERFLOW_MASK == 0x3ffu);
CHECK(shift, VELNOR_DVE_SBUF_CHIP_MISC_R_DDR0_BUFF_STAT_DDR0_WR_OVERFLOW_SHIFT == 22u);
CHECK(whole, VELNOR_DVE_SBUF_CHIP_MISC_R_DEBUG_VALUE_MASK == 0xffffffffu);
CHECK(delay, VELNOR_MM_FCFS_SBUF_FRAME_DELAY_BLOCK_AT(5) == 0x2c80u);
CHECK(code, VELNOR_DVE_SBUF_LTC_RX_R_BINARY_GROUP_AT(3) == 0x19cu);
)";
    for (const auto& [language, standard] :
         {std::pair("-xc", "-std=c99"), std::pair("-xc++", "-std=c++17")}) {
        EXPECT_EQ(complaints(COMPILER,
                             {language, standard, "-Wall", "-Wextra", "-Werror", "-pedantic",
                              "-fsyntax-only"},
                             "checks.c", checks),
                  "");
    }
}

TEST_F(Export, FollowsTheOrderOfElementsInSvd) {
    for (const char* design : {"mm_fcfs", "dve", "dve_2_5"}) {
        EXPECT_EQ(complaints("/usr/bin/xmllint", {"--noout", "--schema", SVD_SCHEMA}, "map.svd",
                             exported("svd", design)),
                  "");
    }
}

/** A map that uses every property of a field. */
regs::ExportedMap MapWithEverything() {
    regs::MemberOutline word{"R_a", {"a \"b\" */", {}, {}}, false, 4, 1, {2, 8}, {}};
    word.fields = {{"low", {"", hwmap::e_Access_ReadClears, 5}, 0xf, 4, {2, 8}},
                   {"reg", {"", hwmap::e_Access_WriteOnly, {}}, 1, 0, {1, 0}}};
    return {"x", "1.2.3", {{"sbuf", "g", {"one, two", {}, {}}, 0x40, {1, 0}, {word}}}};
}

TEST_F(Export, WritesAccessResetAndDescriptions) {
    const std::pair<std::string, std::vector<const char*>> cases[] = {
        {regs::CHeaderOf(MapWithEverything()),
         {"/* register R_a: a \"b\" * / */\n", "/* field low [7:4] rc */\n",
          "_R_A_LOW_RESET 0x5u\n"}},
        {regs::CsvOf(MapWithEverything()),
         {"R_a,1,0x4c,1,low,1,15,12,0xf,rc,0x5,\"one, two\",\"a \"\"b\"\" */\"\n", ",0x1,wo,,"}},
        {regs::SvdOf(MapWithEverything()),
         {"<resetValue>0x5050</resetValue>", "<resetMask>0xf0f0</resetMask>",
          "<readAction>clear</readAction>", "<access>write-only</access>", "a \"b\" */</desc"}},
        {regs::SystemRdlOf(MapWithEverything()),
         {R"(desc = "a \"b\" */";)", "field { sw = w; } \\reg[0:0];",
          R"(field { name = "low[1]"; sw = r; onread = rclr; } low_1[15:12] = 0x5;)"}},
    };
    for (const auto& [text, parts] : cases) {
        for (const char* part : parts) {
            EXPECT_THAT(text, HasSubstr(part));
        }
    }
    EXPECT_EQ(complaints("/usr/bin/xmllint", {"--noout", "--schema", SVD_SCHEMA}, "map.svd",
                         regs::SvdOf(MapWithEverything())),
              "");
    regs::ExportedMap twice = MapWithEverything();
    twice.groups[0].members.push_back(twice.groups[0].members[0]);
    twice.groups[0].members[1].name = "r_A";
    EXPECT_THROW((void)regs::CHeaderOf(twice), regs::Failure);
}

}  // namespace
