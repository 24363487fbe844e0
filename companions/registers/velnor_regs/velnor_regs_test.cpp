/** velnor_regs as a program. */
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "companions/digest/sha256.h"
#include "memory/hostlock.h"
#include "tests/support/privateshm.h"
#include "tests/support/process.h"
#include "tests/support/region.h"
#include "tests/support/testdirectory.h"

using nlohmann::json;
using testing::HasSubstr;
using testsupport::ProcessResult;

namespace {

class VelnorRegs : public testing::Test {
  protected:
    void SetUp() override { testsupport::UsePrivateSharedMemory(); }

    /** The words are separated by blanks, or by bars if there are any. */
    static std::vector<std::string> wordsOf(const std::string& line) {
        std::vector<std::string> words;
        std::istringstream in(line);
        const char separator = line.find('|') != std::string::npos ? '|' : ' ';
        for (std::string word; std::getline(in, word, separator);) {
            words.push_back(word);
        }
        return words;
    }
    ProcessResult run(const std::string& line) const {
        return testsupport::RunProcess(VELNOR_REGS, wordsOf(line), i_directory.path(""));
    }
    json answer(const std::string& line) const { return json::parse(run(line + " --json").out); }

    testsupport::TestDirectory i_directory;
};

// The digests of dumps that were once compared with the hardware's own tables row by row.
// scripts/map-digests prints new ones.
TEST_F(VelnorRegs, DumpsAllObjectsInOrderOfConstruction) {
    const std::pair<const char*, const char*> digests[] = {
        {"mm_fcfs", "20d7c4b1b1df0281976127543a96453b02f97df15e17da8acd09747ca1014292"},
        {"dve", "3bb485734a7693037e5b415716ec4739a1cfc8bdc1ab85d21d3136115b4e3d76"},
        {"dve_3g", "3bb485734a7693037e5b415716ec4739a1cfc8bdc1ab85d21d3136115b4e3d76"},
        {"dve_2_5", "87e7f502bdb6bc0e647a18645eeb0859bfd9f2f18067eca0cd4b51f5b0da8c6c"},
        {"dve_3g_2_5", "87e7f502bdb6bc0e647a18645eeb0859bfd9f2f18067eca0cd4b51f5b0da8c6c"},
    };
    std::ptrdiff_t lines = 0;
    for (const auto& [design, expected] : digests) {
        const std::string dump = run("dump " + std::string(design)).out;
        digest::Sha256 sha256;
        sha256.add(dump.data(), dump.size());
        EXPECT_EQ(sha256.hex(), expected) << design;
        lines += std::count(dump.begin(), dump.end(), '\n');
    }
    EXPECT_EQ(lines, 27067);
}

/** The line of a dump for an object of its JSON. */
std::string LineOf(const nlohmann::ordered_json& object) {
    std::ostringstream line;
    for (const auto& [key, value] : object.items()) {
        const bool isHex = key == "address" || key == "mask";
        line << (key == "kind" ? "" : " ") << (isHex ? std::hex : std::dec) << (isHex ? "0x" : "");
        value.is_string() ? line << value.get<std::string>() : line << value.get<unsigned>();
    }
    return line.str() + "\n";
}

TEST_F(VelnorRegs, GivesTheSameInJson) {
    std::string text;
    const auto dump = nlohmann::ordered_json::parse(run("dump dve --json").out);
    for (const auto& object : dump["objects"]) {
        text += LineOf(object);
    }
    EXPECT_EQ(text, run("dump dve").out);
    const json word = answer("decode sbuf.chip_misc.R_misc_ctrl 0x8a55");
    EXPECT_EQ(word["address"], 12);
    EXPECT_EQ(word["unnamed"], 0x8000);
    EXPECT_EQ(word["fields"][1]["field"], "aud_rate");
    EXPECT_EQ(word["fields"][1]["value"], 10);
    EXPECT_EQ(answer("diff dve_2_5 dve")["differences"][0]["dve"], "0x780 x6+0x40");
    EXPECT_EQ(answer("diff dve dve_3g")["differences"], json::array());
}

struct RunCase {
    int exitValue;
    const char* arguments;
    /** A part of standard output, or of standard error if the exit value isn't 0. */
    const char* text;
};

const RunCase RUN_CASES[] = {
    {0, "list", "\ndve_3g_2_5  59           170     1564       251       3196\n"},
    {0, "list dve", "\ndbuf.dve_hcoef                           0x2a000    8          0x800"},
    {0, "find FORMAT_DET_CTL.r_s", "register  sbuf.format_det_ctl[0..5].R_select  0x784\n"},
    {0, "find vid_start.line --design dve",
     "field  sbuf.format_det_ctl[0..5].R_vid_start.line[0..1]         0x7a4    10:0\n"},
    {1, "find shelf_statsu", "\"; did you mean sbuf.shelf_status?\n"},
    {1, "find|First Mailbox OF", "contains \"First Mailbox OF\"\n"},
    {0, "find|Mailbox of", "\ngroup  sbuf.shelf_status  0x2800\n"},
    {1, "find zebra", "description in mm_fcfs contains \"zebra\"\n"},
    {0, "at --design dve 0x2b596",
     "memory  dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][5]        0x2b594\n"},
    {0, "at 104857728", "ddr2.ddr2_memory[0].sodim[32]        0x6400080\n"},
    {0, "at 0x6400080", "ddr2.ddr2_memory[1].sodim[0]         0x6400080\n"},
    {1, "at 0x34",
     "below is sbuf.chip_misc[0].R_pmc_timeouts, above is sbuf.clocks[0].R_PLLStatus\n"},
    {2, "at 0x100000000", "at most 0xffffffff"},
    {2, "at 99999999999999999999", "at most 0xffffffff"},
    {2, "at 12a", "not a number"},
    {2, "at 0x", "not a number"},
    {0, "show sbuf.chip_misc.R_DDR0_buff_stat",
     "bit   31   27   23   19   15   11   7    3\n"
     "field cccc cccc ccbb bbbb bbbb baaa aaaa aaaa\n"
     "letter  field              bits   mask   shift\n"
     "a       ddr0_rd_overflow   10:0   0x7ff  0\n"},
    {0, "show sbuf.shelf_status[0].shelf_status_spi_values.value",
     "\naddress: 0x2800\n"
     "group: the mailbox of the Tolmira controller, and the crosspoint control\n"
     "about: the words that the host and the controller exchange, a byte in bits 7 to 0 of each\n"
     "words: 32\n"},
    {0, "show sbuf.format_det_ctl[0].R_select", "no more than a selector of two registers\n"},
    {0, "show sbuf.format_det_ctl[0].R_status --design dve_3g", "detector per input\n"},
    {0, "decode dbuf.mixertree[1].R_pgm_bypass.k_bypass[2] 0x20",
     "field .... .... .... .... .... .... ..a. ....\n"
     "value 0000 0000 0000 0000 0000 0000 0010 0000\n"
     "letter  field        bits  mask  shift  value\n"
     "a       k_bypass[2]  5     0x1   5      0x1\n"},
    {0, "diff dve dve_3g", ""},
    {1, "show sbuf.mixertree[0]", "no sbuf.mixertree; did you mean dbuf.mixertree?\n"},
    {1, "show R_xpt_contrl", "did you mean sbuf.shelf_status.R_xpt_control?\n"},
    {1, "show dbuf.mixertree.R_pgm_bypass", "dbuf.mixertree takes one of [0] to [1]\n"},
    {1, "show sbuf.shelf_status[1].R_xpt_control", "sbuf.shelf_status has only [0]\n"},
    {1, "show sbuf.shelf_status.R_xpt_control[0][0]", "takes fewer indices\n"},
    {1, "show sbuf.shelf_status.shelf_status_spi_values[32]", "one of [0] to [31]\n"},
    {1, "show dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][32]", "[3] takes one of [0] to [31]"},
    {0, "show sbuf.ltc_rx",
     "path: sbuf.ltc_rx[0]\n"
     "address: 0x180\n"
     "group: linear time code receiver: four time codes with binary groups, control, status\n"
     "member                kind      address  words  about\n"
     "R_time_code[0..3]     register  0x180\n"},
    {1, "show dbuf.mixertree", "dbuf.mixertree takes one of [0] to [1]\n"},
    {1, "show sbuf", "continue as in sbuf.chip_misc\n"},
    {0, "show --design dve 0x2b596", "path: dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][5]\n"},
    {0, "decode 0x6400080 7", "path: ddr2.ddr2_memory[0].sodim[32]\n"},
    {0, "decode sbuf.spg_top 0x1000fff 3",
     "path                         address  word       field    bits   value\n"
     "sbuf.spg_top[0].R_SpgHPhase  0x100    0x1000fff  h_phase  11:0   0xfff\n"
     "sbuf.spg_top[0].R_SpgHPhase  0x100    0x1000fff  h_align  27:16  0x100\n"
     "sbuf.spg_top[0].R_SpgVPhase  0x104    0x3        v_align  10:0   0x3\n"},
    {2, "decode sbuf.chip_misc.R_debug 1 2", "too many values; give at most 1\n"},
    {2, "decode sbuf.DDR_control[1] 1 2 3 4", "too many values; give at most 3"},
    {1, "read ddr2.ddr2_memory[0]", "past the end of the mapped space"},
    {1, "write sbuf.sbuf_empty 1 --yes", "sbuf.sbuf_empty[0] is an empty group"},
    {1, "write sbuf.chip_misc 1 --yes", "as in sbuf.chip_misc[0].R_fpgaRevision\n"},
    {0, "paths", "sbuf.\ndbuf.\nddr2.\n"},
    {0, "paths dbuf.mi", "dbuf.mixertree[0].\ndbuf.mixertree[1].\n"},
    {0, "paths sbuf.sbuf", "sbuf.sbuf_empty\n"},
    {0, "paths sbuf.ltc_rx.R_t", "sbuf.ltc_rx.R_time_code[0]\nsbuf.ltc_rx.R_time_code[1]\n"},
    {0, "paths sbuf.shelf_status.shelf_status_spi_values[3",
     "_values[3]\nsbuf.shelf_status.shelf_status_spi_values[30]\n"},
    {0, "paths sbuf.clocks.R_ClkSelect.c", "sbuf.clocks.R_ClkSelect.clk_switch\n"},
    {0, "paths sbuf.chip_misc.R_debug", "R_debug\nsbuf.chip_misc.R_debug.value\n"},
    {2, "lst", "there is no command lst; did you mean list? (see --help)\n"},
    {2, "zebra", "there is no command zebra (see --help"},
    {2, "show sbuf..x", "is not a path"},
    {2, "show sbuf.chip_misc.R_debug.value.x", "is not a path"},
    {2, "show sbuf.chip_misc[-1].R_debug", "is not a path"},
    {2, "show sbuf.chip_misc[0.R_debug", "is not a path"},
    {2, "show sbuf.chip_misc]", "is not a path"},
    {2, "show sbuf.chip_misc.", "is not a path"},
    {2, "show", "--help"},
    {2, "list dve b --bogus", ": unexpected arguments: b --bogus (see --help)\n"},
    {1, "dump dvx", "no design dvx; did you mean dve? (see velnor_regs list"},
    {2, "write sbuf.chip_misc.R_debug 1", "use --yes"},
    {1, "read sbuf.chip_misc.R_debug", "start the controller first\n"},
    {1, "write sbuf.chip_misc.R_debug 1 --yes", "start the controller first\n"},
    {1, "read sbuf.shelf_status.shelf_status_spi_values", "give a word, [0] to [31]\n"},
};

TEST_F(VelnorRegs, AnswersOrReportsAnErrorInOneLine) {
    for (const RunCase& c : RUN_CASES) {
        SCOPED_TRACE(c.arguments);
        const ProcessResult result = run(c.arguments);
        EXPECT_EQ(result.exitValue, c.exitValue);
        const bool good = c.exitValue == 0;
        EXPECT_THAT(good ? result.out : result.err, HasSubstr(c.text));
        EXPECT_EQ(good ? result.err : result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), good ? 0 : 1);
    }
    EXPECT_EQ(run("diff dve dve_2_5").exitValue, 1);
    EXPECT_NE(access("/dev/shm/resource0", F_OK), 0) << "nothing creates the object";
}

TEST_F(VelnorRegs, ReadsAndWritesTheLiveCard) {
    const std::string word = "sbuf.shelf_status.shelf_status_spi_values[5]";
    const std::string control = "sbuf.shelf_status.R_xpt_control";
    testsupport::Region region;
    region.setWord(5, 0xfffffe00);
    region.setWord(6, 7);
    EXPECT_EQ(answer("read " + word)["word"], 0xfffffe00);
    EXPECT_EQ(run("write " + word + ".value 0xab").exitValue, 2);
    EXPECT_EQ(run("write " + word + ".value 0x200 --yes").exitValue, 2);
    EXPECT_EQ(region.word(5), 0xfffffe00);
    const json written = answer("write " + word + ".value 0xab --yes");
    EXPECT_EQ(written["before"], 0xfffffe00);
    EXPECT_EQ(written["fields"][0]["value"], 0xab);
    EXPECT_EQ(region.word(5), 0xfffffeab);
    EXPECT_EQ(run("write " + word + " 12 --yes").exitValue, 0);
    EXPECT_EQ(region.word(5), 12U);
    EXPECT_EQ(region.word(6), 7U);
    EXPECT_EQ(run("write " + control + " 0xffffffff --yes").exitValue, 0);
    EXPECT_EQ(run("write " + control + ".value 5 --yes").exitValue, 0);
    EXPECT_EQ(region.word(32), 0xfffffe05);
    for (const char* line :
         {"read ddr2.ddr2_memory[0].sodim[0]", "write ddr2.ddr2_memory[0].sodim[0] 1 --yes"}) {
        EXPECT_THAT(run(line).err, HasSubstr("past the end"));
    }
    ASSERT_EQ(truncate("/dev/shm/resource0", 0x2000), 0);
    EXPECT_EQ(run("read " + word).exitValue, 1) << "an object that is too short";
    shm_unlink("/resource0");
}

TEST_F(VelnorRegs, ReadsAGroupAndWatchesForChanges) {
    testsupport::Region region;
    region.setWord(5, 0xfffffe00);
    region.setWord(32, 0x11);
    const json fields = answer("read sbuf.shelf_status")["fields"];
    ASSERT_EQ(fields.size(), 33U);
    EXPECT_EQ(fields[0]["path"], "sbuf.shelf_status[0].R_xpt_control");
    EXPECT_EQ(fields[0]["value"], 0x11);
    EXPECT_EQ(fields[6]["word"], 0xfffffe00);

    testsupport::Process watch(
        VELNOR_REGS,
        wordsOf("watch 0x2880 sbuf.shelf_status.shelf_status_spi_values[5].value --json "
                "--interval 1 --count 3"),
        i_directory.path(""), "watch");
    ASSERT_TRUE(watch.waitForOutput("[5].value"));
    region.setWord(5, 0xab);
    const ProcessResult result = watch.wait();
    EXPECT_EQ(result.exitValue, 0);
    std::vector<json> lines;
    std::istringstream stream(result.out);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(json::parse(line));
        lines.back().erase("seconds");
    }
    const std::string word = "sbuf.shelf_status[0].shelf_status_spi_values[5].value";
    EXPECT_EQ(lines,
              (std::vector<json>{
                  {{"format", 1}, {"path", "sbuf.shelf_status[0].R_xpt_control"}, {"value", 0x11}},
                  {{"format", 1}, {"path", word}, {"value", 0}},
                  {{"format", 1}, {"path", word}, {"value", 0xab}, {"before", 0}}}));
    EXPECT_THAT(run("watch sbuf.chip_misc.R_debug --count 1").out,
                HasSubstr("  sbuf.chip_misc[0].R_debug  0x0\n"));
    shm_unlink("/resource0");
    EXPECT_EQ(run("watch sbuf.chip_misc.R_debug --count 1").exitValue, 1);
}

TEST_F(VelnorRegs, WritesBesideAHostOnlyIfForced) {
    const std::string write = "write sbuf.shelf_status.R_xpt_control 9 --yes";
    testsupport::Region region;
    const int fd = shm_open("/resource0", O_RDWR, 0);
    LockAsHost(fd);
    const ProcessResult refused = run(write);
    EXPECT_EQ(refused.exitValue, 1);
    EXPECT_THAT(refused.err, HasSubstr("is at work, pid " + std::to_string(getpid()) + "; "));
    EXPECT_EQ(region.word(32), 0U);
    EXPECT_EQ(run("read sbuf.shelf_status.R_xpt_control").exitValue, 0);
    EXPECT_EQ(run(write + " --force").exitValue, 0);
    EXPECT_EQ(region.word(32), 9U);
    close(fd);
    EXPECT_EQ(run(write).exitValue, 0) << "the host is gone";
    shm_unlink("/resource0");
}

// A store without memory would end the program with SIGBUS.
TEST_F(VelnorRegs, ReportsAFullSharedMemoryAndReadsIt) {
    const testsupport::Region region;
    const std::string write = "write sbuf.chip_misc.R_debug 1 --yes";
    {
        const testsupport::FullSharedMemory memory;
        if (!memory.full()) {
            GTEST_SKIP() << "this machine permits no /dev/shm of its own";
        }
        const ProcessResult result = run(write);
        EXPECT_EQ(result.exitValue, 1);
        EXPECT_THAT(result.err, HasSubstr("No space left on device; check /dev/shm\n"));
        EXPECT_EQ(answer("read sbuf.chip_misc.R_debug")["word"], 0);
    }
    EXPECT_EQ(run(write).exitValue, 0);
    shm_unlink("/resource0");
}

}  // namespace
