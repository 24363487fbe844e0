/** The inspector from outside. */
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

using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::ProcessResult;

namespace {

using Arguments = std::vector<std::string>;

class VelnorRegs : public testing::Test {
  protected:
    void SetUp() override { testsupport::UsePrivateSharedMemory(); }

    ProcessResult run(const Arguments& arguments) const {
        return testsupport::RunProcess(VELNOR_REGS, arguments, i_directory.path(""));
    }
    nlohmann::json answer(Arguments arguments) const {
        arguments.emplace_back("--json");
        return nlohmann::json::parse(run(arguments).out);
    }

    testsupport::TestDirectory i_directory;
};

// Once compared with the hardware's own tables row by row. scripts/map-digests prints the rows
// anew.
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
        const std::string dump = run({"dump", design}).out;
        digest::Sha256 sha256;
        sha256.add(dump.data(), dump.size());
        EXPECT_EQ(sha256.hex(), expected) << design;
        lines += std::count(dump.begin(), dump.end(), '\n');
    }
    EXPECT_EQ(lines, 27067);
}

/** The line of text that a dumped object stands for. */
std::string LineOf(const nlohmann::json& object) {
    std::ostringstream line;
    line << object["kind"].get<std::string>();
    for (const char* key : {"domain", "group", "instance", "member", "element", "field",
                            "field_element", "address", "mask", "words", "shift"}) {
        if (!object.contains(key)) {
            continue;
        }
        const nlohmann::json& value = object[key];
        line << ' ';
        if (value.is_string()) {
            line << value.get<std::string>();
        } else if (key == std::string("address") || key == std::string("mask")) {
            line << "0x" << std::hex << value.get<unsigned>() << std::dec;
        } else {
            line << value.get<unsigned>();
        }
    }
    return line.str() + "\n";
}

TEST_F(VelnorRegs, SaysTheSameInJson) {
    std::string text;
    const nlohmann::json dump = answer({"dump", "dve"});
    for (const nlohmann::json& object : dump["objects"]) {
        text += LineOf(object);
    }
    EXPECT_EQ(text, run({"dump", "dve"}).out);
    const nlohmann::json word = answer({"decode", "sbuf.chip_misc.R_misc_ctrl", "0x8a55"});
    EXPECT_EQ(word["address"], 12);
    EXPECT_EQ(word["unnamed"], 0x8000);
    EXPECT_EQ(word["fields"][1]["field"], "aud_rate");
    EXPECT_EQ(word["fields"][1]["value"], 10);
    EXPECT_EQ(answer({"diff", "dve_2_5", "dve"})["differences"][0]["dve"], "0x780 x6+0x40");
    EXPECT_THAT(answer({"diff", "dve", "dve_3g"})["differences"], IsEmpty());
}

struct RunCase {
    Arguments arguments;
    int exitValue;
    /** A part of standard output, or of standard error where the exit value isn't 0. */
    const char* text;
};

const RunCase RUN_CASES[] = {
    {{"list"}, 0, "\ndve_3g_2_5  59           170     1564       251       3196\n"},
    {{"list", "dve"}, 0, "\ndbuf.dve_hcoef                           0x2a000    8          0x800"},
    {{"find", "FORMAT_DET_CTL.r_s"}, 0, "register  sbuf.format_det_ctl[0..5].R_select  0x784\n"},
    {{"find", "vid_start.line", "--design", "dve"},
     0,
     "field  sbuf.format_det_ctl[0..5].R_vid_start.line[0..1]         0x7a4    10:0\n"},
    {{"find", "shelf_statsu"}, 1, "\"; did you mean sbuf.shelf_status?\n"},
    {{"find", "First Mailbox OF"}, 1, "has \"First Mailbox OF\"\n"},
    {{"find", "Mailbox of"}, 0, "\ngroup  sbuf.shelf_status  0x2800\n"},
    {{"find", "zebra"}, 1, "no description in mm_fcfs has \"zebra\"\n"},
    {{"at", "--design", "dve", "0x2b596"},
     0,
     "memory  dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][5]        0x2b594\n"},
    {{"at", "104857728"}, 0, "ddr2.ddr2_memory[0].sodim[32]        0x6400080\n"},
    {{"at", "0x6400080"}, 0, "ddr2.ddr2_memory[1].sodim[0]         0x6400080\n"},
    {{"at", "0x34"},
     1,
     "below is sbuf.chip_misc[0].R_pmc_timeouts, above sbuf.clocks[0].R_PLLStatus\n"},
    {{"at", "0x100000000"}, 2, "at most 0xffffffff"},
    {{"at", "99999999999999999999"}, 2, "at most 0xffffffff"},
    {{"at", "12a"}, 2, "no number"},
    {{"at", "0x"}, 2, "no number"},
    {{"show", "sbuf.chip_misc.R_DDR0_buff_stat"},
     0,
     "bit   31   27   23   19   15   11   7    3\n"
     "field cccc cccc ccbb bbbb bbbb baaa aaaa aaaa\n"
     "letter  field              bits   mask   shift\n"
     "a       ddr0_rd_overflow   10:0   0x7ff  0\n"},
    {{"show", "sbuf.shelf_status[0].shelf_status_spi_values.value"},
     0,
     "\naddress: 0x2800\n"
     "group: the mailbox of the Tolmira controller, and the crosspoint control\n"
     "about: the words that the host and the controller exchange, a byte in bits 7 to 0 of each\n"
     "words: 32\n"},
    {{"show", "sbuf.format_det_ctl[0].R_select"}, 0, "no more than a selector of two registers\n"},
    {{"show", "sbuf.format_det_ctl[0].R_status", "--design", "dve_3g"}, 0, "detector per input\n"},
    {{"decode", "dbuf.mixertree[1].R_pgm_bypass.k_bypass[2]", "0x20"},
     0,
     "field .... .... .... .... .... .... ..a. ....\n"
     "value 0000 0000 0000 0000 0000 0000 0010 0000\n"
     "letter  field        bits  mask  shift  value\n"
     "a       k_bypass[2]  5     0x1   5      0x1\n"},
    {{"diff", "dve", "dve_3g"}, 0, ""},
    {{"show", "sbuf.mixertree[0]"}, 1, "no sbuf.mixertree; did you mean dbuf.mixertree?\n"},
    {{"show", "R_xpt_contrl"}, 1, "did you mean sbuf.shelf_status.R_xpt_control?\n"},
    {{"show", "dbuf.mixertree.R_pgm_bypass"}, 1, "dbuf.mixertree takes one of [0] to [1]\n"},
    {{"show", "sbuf.shelf_status[1].R_xpt_control"}, 1, "sbuf.shelf_status has only [0]\n"},
    {{"show", "sbuf.shelf_status.R_xpt_control[0][0]"}, 1, "takes fewer indices\n"},
    {{"show", "sbuf.shelf_status.shelf_status_spi_values[32]"}, 1, "one of [0] to [31]\n"},
    {{"show", "dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][32]"}, 1, "[3] takes one of [0] to [31]"},
    {{"show", "sbuf.ltc_rx"},
     0,
     "path: sbuf.ltc_rx[0]\n"
     "address: 0x180\n"
     "group: linear time code receiver: four time codes with binary groups, control, status\n"
     "member                kind      address  words  about\n"
     "R_time_code[0..3]     register  0x180\n"},
    {{"show", "dbuf.mixertree"}, 1, "dbuf.mixertree takes one of [0] to [1]\n"},
    {{"show", "sbuf"}, 1, "go on as in sbuf.chip_misc\n"},
    {{"show", "--design", "dve", "0x2b596"},
     0,
     "path: dbuf.dve_hcoef[2].hor_chroma_coef_dve[3][5]\n"},
    {{"decode", "0x6400080", "7"}, 0, "path: ddr2.ddr2_memory[0].sodim[32]\n"},
    {{"decode", "sbuf.spg_top", "0x1000fff", "3"},
     0,
     "path                         address  word       field    bits   value\n"
     "sbuf.spg_top[0].R_SpgHPhase  0x100    0x1000fff  h_phase  11:0   0xfff\n"
     "sbuf.spg_top[0].R_SpgHPhase  0x100    0x1000fff  h_align  27:16  0x100\n"
     "sbuf.spg_top[0].R_SpgVPhase  0x104    0x3        v_align  10:0   0x3\n"},
    {{"decode", "sbuf.chip_misc.R_debug", "1", "2"}, 2, "give fewer values\n"},
    {{"decode", "sbuf.DDR_control[1]", "1", "2", "3", "4"}, 2, "no more than 3 of these words"},
    {{"read", "ddr2.ddr2_memory[0]"}, 1, "past the end of the mapped space"},
    {{"write", "sbuf.chip_misc", "1", "--yes"}, 1, "as in sbuf.chip_misc[0].R_fpgaRevision\n"},
    {{"paths"}, 0, "sbuf.\ndbuf.\nddr2.\n"},
    {{"paths", "dbuf.mi"}, 0, "dbuf.mixertree[0].\ndbuf.mixertree[1].\n"},
    {{"paths", "sbuf.sbuf"}, 0, "sbuf.sbuf_empty\n"},
    {{"paths", "sbuf.ltc_rx.R_t"}, 0, "sbuf.ltc_rx.R_time_code[0]\nsbuf.ltc_rx.R_time_code[1]\n"},
    {{"paths", "sbuf.shelf_status.shelf_status_spi_values[3"},
     0,
     "_values[3]\nsbuf.shelf_status.shelf_status_spi_values[30]\n"},
    {{"paths", "sbuf.clocks.R_ClkSelect.c"}, 0, "sbuf.clocks.R_ClkSelect.clk_switch\n"},
    {{"paths", "sbuf.chip_misc.R_debug"}, 0, "R_debug\nsbuf.chip_misc.R_debug.value\n"},
    {{"lst"}, 2, "there is no command lst; did you mean list? (--help tells how)\n"},
    {{"zebra"}, 2, "there is no command zebra (--help"},
    {{"show", "sbuf..x"}, 2, "is no path"},
    {{"show", "sbuf.chip_misc.R_debug.value.x"}, 2, "is no path"},
    {{"show", "sbuf.chip_misc[-1].R_debug"}, 2, "is no path"},
    {{"show", "sbuf.chip_misc[0.R_debug"}, 2, "is no path"},
    {{"show", "sbuf.chip_misc]"}, 2, "is no path"},
    {{"show", "sbuf.chip_misc."}, 2, "is no path"},
    {{"show"}, 2, "--help"},
    {{"dump", "dvx"}, 1, "no design dvx; did you mean dve? (list"},
    {{"write", "sbuf.chip_misc.R_debug", "1"}, 2, "say --yes"},
    {{"read", "sbuf.chip_misc.R_debug"}, 1, "start what drives the card first\n"},
    {{"write", "sbuf.chip_misc.R_debug", "1", "--yes"}, 1, "start what drives the card first\n"},
    {{"read", "sbuf.shelf_status.shelf_status_spi_values"}, 1, "give a word, [0] to [31]\n"},
};

TEST_F(VelnorRegs, AnswersOrTellsInOneLineWhyNot) {
    for (const RunCase& c : RUN_CASES) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        const ProcessResult result = run(c.arguments);
        EXPECT_EQ(result.exitValue, c.exitValue);
        const bool good = c.exitValue == 0;
        EXPECT_THAT(good ? result.out : result.err, HasSubstr(c.text));
        EXPECT_EQ(good ? result.err : result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), good ? 0 : 1);
    }
    EXPECT_EQ(run({"diff", "dve", "dve_2_5"}).exitValue, 1);
    EXPECT_NE(access("/dev/shm/resource0", F_OK), 0) << "nothing makes the object";
}

TEST_F(VelnorRegs, ReadsAndWritesTheLiveCard) {
    const std::string word = "sbuf.shelf_status.shelf_status_spi_values[5]";
    testsupport::Region region;
    region.setWord(5, 0xfffffe00);
    region.setWord(6, 7);
    EXPECT_EQ(answer({"read", word})["word"], 0xfffffe00);
    EXPECT_EQ(run({"write", word + ".value", "0xab"}).exitValue, 2);
    EXPECT_EQ(run({"write", word + ".value", "0x200", "--yes"}).exitValue, 2);
    EXPECT_EQ(region.word(5), 0xfffffe00);
    const nlohmann::json written = answer({"write", word + ".value", "0xab", "--yes"});
    EXPECT_EQ(written["before"], 0xfffffe00);
    EXPECT_EQ(written["fields"][0]["value"], 0xab);
    EXPECT_EQ(region.word(5), 0xfffffeab);
    EXPECT_EQ(run({"write", word, "12", "--yes"}).exitValue, 0);
    EXPECT_EQ(region.word(5), 12U);
    EXPECT_EQ(region.word(6), 7U);
    EXPECT_EQ(run({"write", "sbuf.shelf_status.R_xpt_control", "0xffffffff", "--yes"}).exitValue,
              0);
    EXPECT_EQ(run({"write", "sbuf.shelf_status.R_xpt_control.value", "5", "--yes"}).exitValue, 0);
    EXPECT_EQ(region.word(32), 0xfffffe05);
    for (const char* command : {"read", "write"}) {
        Arguments arguments = {command, "ddr2.ddr2_memory[0].sodim[0]"};
        if (command == std::string("write")) {
            arguments.insert(arguments.end(), {"1", "--yes"});
        }
        EXPECT_THAT(run(arguments).err, HasSubstr("past the end"));
    }
    ASSERT_EQ(truncate("/dev/shm/resource0", 0x2000), 0);
    EXPECT_EQ(run({"read", word}).exitValue, 1) << "an object that is too short";
    shm_unlink("/resource0");
}

TEST_F(VelnorRegs, ReadsAGroupAndWatchesForChanges) {
    testsupport::Region region;
    region.setWord(5, 0xfffffe00);
    region.setWord(32, 0x11);
    const nlohmann::json fields = answer({"read", "sbuf.shelf_status"})["fields"];
    ASSERT_EQ(fields.size(), 33U);
    EXPECT_EQ(fields[0]["path"], "sbuf.shelf_status[0].R_xpt_control");
    EXPECT_EQ(fields[0]["value"], 0x11);
    EXPECT_EQ(fields[6]["word"], 0xfffffe00);

    testsupport::Process watch(
        VELNOR_REGS,
        {"watch", "0x2880", "sbuf.shelf_status.shelf_status_spi_values[5].value", "--json",
         "--interval", "1", "--count", "3"},
        i_directory.path(""), "watch");
    ASSERT_TRUE(watch.waitForOutput("[5].value"));
    region.setWord(5, 0xab);
    const ProcessResult result = watch.wait();
    EXPECT_EQ(result.exitValue, 0);
    std::vector<nlohmann::json> lines;
    std::istringstream stream(result.out);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(nlohmann::json::parse(line));
    }
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0]["path"], "sbuf.shelf_status[0].R_xpt_control");
    EXPECT_EQ(lines[0]["value"], 0x11);
    EXPECT_FALSE(lines[0].contains("before"));
    EXPECT_EQ(lines[2]["value"], 0xab);
    EXPECT_EQ(lines[2]["before"], 0);
    EXPECT_THAT(run({"watch", "sbuf.chip_misc.R_debug", "--count", "1"}).out,
                HasSubstr("  sbuf.chip_misc[0].R_debug  0x0\n"));
    shm_unlink("/resource0");
    EXPECT_EQ(run({"watch", "sbuf.chip_misc.R_debug", "--count", "1"}).exitValue, 1);
}

TEST_F(VelnorRegs, WritesBesideAHostOnlyWhenForced) {
    const Arguments write = {"write", "sbuf.shelf_status.R_xpt_control", "9", "--yes"};
    testsupport::Region region;
    const int fd = shm_open("/resource0", O_RDWR, 0);
    LockAsHost(fd);
    const ProcessResult refused = run(write);
    EXPECT_EQ(refused.exitValue, 1);
    EXPECT_THAT(refused.err, HasSubstr("is at work, pid " + std::to_string(getpid()) + "; "));
    EXPECT_EQ(region.word(32), 0U);
    EXPECT_EQ(run({"read", write[1]}).exitValue, 0);
    EXPECT_EQ(run({write[0], write[1], write[2], "--yes", "--force"}).exitValue, 0);
    EXPECT_EQ(region.word(32), 9U);
    close(fd);
    EXPECT_EQ(run(write).exitValue, 0) << "the host is gone";
    shm_unlink("/resource0");
}

// A store into memory that isn't there would end the program with SIGBUS.
TEST_F(VelnorRegs, AFullSharedMemoryIsToldAndReadAllTheSame) {
    const testsupport::Region region;
    const std::string path = "sbuf.chip_misc.R_debug";
    {
        const testsupport::FullSharedMemory memory;
        if (!memory.full()) {
            GTEST_SKIP() << "this machine permits no /dev/shm of its own";
        }
        const ProcessResult write = run({"write", path, "1", "--yes"});
        EXPECT_EQ(write.exitValue, 1);
        EXPECT_THAT(write.err, HasSubstr("No space left on device; check /dev/shm\n"));
        EXPECT_EQ(answer({"read", path})["word"], 0);
    }
    EXPECT_EQ(run({"write", path, "1", "--yes"}).exitValue, 0);
    shm_unlink("/resource0");
}

}  // namespace
