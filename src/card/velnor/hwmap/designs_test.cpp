#include "src/card/velnor/hwmap/designs_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <type_traits>

#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_2_5_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_walk.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_mm_fcfs_walk.h"
#include "tests/support/child.h"

using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace hwmaptest {

namespace {

using Dve = hwmap::Design_velnor_vp_dve<VolatileAccessor>;

template <class Design>
void WalkNew(void* base, hwmap::MapVisitor& visitor, const std::function<void()>& walked) {
    Design design(VolatileAccessor(), base);
    Walk(design, visitor);
    walked();
}

/** Writes a line for each object. */
class Listing : public hwmap::MapVisitor {
  public:
    void group(const char* domain, const char* name, unsigned int instance, std::uintptr_t address,
               const void* /*object*/) override {
        i_group =
            std::string("Domain_") + domain + " Group_" + name + " " + std::to_string(instance);
        i_lines.push_back("group " + i_group + hex(address));
    }
    void registerWord(const char* name, unsigned int element,
                      Register<VolatileAccessor, unsigned int>& object) override {
        i_member = i_group + " " + name + " " + std::to_string(element);
        i_lines.push_back("register " + i_member + hex(object.absoluteAddress()));
    }
    void memory(const char* name, unsigned int element,
                Memory<VolatileAccessor, unsigned int>& object) override {
        i_member = i_group + " " + name + " " + std::to_string(element);
        i_lines.push_back("memory " + i_member + hex(object.absoluteAddress()) + " " +
                          std::to_string(object.sizeInWords()));
    }
    void registerField(const char* name, unsigned int element,
                       RegisterField<VolatileAccessor, unsigned int>& object) override {
        field(name, element, object.alignedMask(), object.lowestBit());
    }
    void memoryField(const char* name, unsigned int element,
                     MemoryField<VolatileAccessor, unsigned int>& object) override {
        field(name, element, object.alignedMask(), object.lowestBit());
    }

    std::vector<std::string>& lines() { return i_lines; }

  private:
    static std::string hex(std::uintptr_t number) {
        char text[32];
        (void)snprintf(text, sizeof(text), " 0x%lx", static_cast<unsigned long>(number));
        return text;
    }
    void field(const char* name, unsigned int element, unsigned int mask, unsigned int shift) {
        i_lines.push_back("field " + i_member + " " + name + " " + std::to_string(element) +
                          hex(mask) + " " + std::to_string(shift));
    }

    std::string i_group;
    std::string i_member;
    std::vector<std::string> i_lines;
};

std::vector<std::string> OfKind(const std::vector<std::string>& lines, const std::string& kind) {
    std::vector<std::string> result;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(result),
                 [&](const std::string& line) { return line.rfind(kind + " ", 0) == 0; });
    return result;
}

}  // namespace

const DesignUnderTest DESIGNS[5] = {
    {"mm_fcfs", "mm_fcfs", WalkNew<hwmap::Design_velnor_vp_mm_fcfs<VolatileAccessor>>},
    {"dve", "dve", WalkNew<Dve>},
    {"dve_3g", "dve", WalkNew<hwmap::Design_velnor_vp_dve_3g<VolatileAccessor>>},
    {"dve_2_5", "dve_2_5", WalkNew<hwmap::Design_velnor_vp_dve_2_5<VolatileAccessor>>},
    {"dve_3g_2_5", "dve_2_5", WalkNew<hwmap::Design_velnor_vp_dve_3g_2_5<VolatileAccessor>>},
};

std::vector<std::string> LinesOf(const DesignUnderTest& design) {
    Listing listing;
    design.walk(nullptr, listing, [] {});
    return listing.lines();
}

namespace {

struct Spot {
    std::size_t design;  // index into DESIGNS
    const char* line;
};

// Written by hand from the data sheet, where a mistake would be easy. Base 0 is not mapped: an
// access would end the test.
const Spot SPOTS[] = {
    {0, "group Domain_sbuf Group_chip_misc 0 0x0"},
    {1, "memory Domain_sbuf Group_shelf_status 0 shelf_status_spi_values 0 0x2800 32"},
    {3, "field Domain_sbuf Group_shelf_status 0 shelf_status_spi_values 0 value 0 0x1ff 0"},
    {4, "register Domain_sbuf Group_shelf_status 0 R_xpt_control 0 0x2880"},
    {1, "field Domain_sbuf Group_chip_misc 0 R_DDR0_buff_stat 0 ddr0_wr_overflow 0 0x3ff 22"},
    {1, "memory Domain_dbuf Group_dve_hcoef 2 hor_chroma_coef_dve 3 0x2b580 32"},
    {3, "memory Domain_sbuf Group_vanc_tx_buffer 0 VANC_TX_1024x16 0 0x2000 512"},
    {3, "field Domain_sbuf Group_vanc_tx_buffer 0 VANC_TX_1024x16 0 data 0 0xffff 0"},
    {0, "field Domain_sbuf Group_chip_misc 0 R_pmc_timeout 0 value 0 0xffffffff 0"},
    {0, "field Domain_sbuf Group_chip_misc 0 R_pmc_timeouts 0 count 0 0xffffffff 0"},
    {1, "field Domain_sbuf Group_format_det_ctl 5 R_vid_start 0 line 1 0x7ff 12"},
    {0, "field Domain_sbuf Group_format_det_ctl 5 R_select 0 line_double 0 0x1 12"},
    {4, "group Domain_sbuf Group_sbuf_empty 0 0x10000"},
    {0, "memory Domain_ddr2 Group_ddr2_memory 1 sodim 0 0x6400080 49283072"},
    {1, "register Domain_sbuf Group_ltc_rx 0 R_binary_group 3 0x19c"},
    {1, "field Domain_dbuf Group_mixertree 1 R_pgm_bypass 0 k_bypass 3 0x1 7"},
    {1, "field Domain_dbuf Group_mixertree 1 R_pvm_type 0 k_bord_ena 3 0x1 11"},
    {3, "field Domain_dbuf Group_outstage 0 R_anc_clip_mode 0 value 9 0x3 18"},
    {0, "register Domain_dbuf Group_dual_simple_pattern_generator 1 R_srcScalingOrgCY 1 0x2037c"},
    {0, "register Domain_dbuf Group_format_conv_hctl 5 R_options 0 0x240b8"},
    {0, "field Domain_dbuf Group_format_conv_hctl 5 R_options 0 disable_bypass 0 0x1 31"},
    {1, "field Domain_dbuf Group_format_conv_vctl 0 R_options 0 bypass 0 0x1 31"},
    {1, "register Domain_dbuf Group_dve_vctl 7 R_ver_size_f1 0 0x21ef8"},
    {0, "group Domain_dbuf Group_frame_sync_reg 5 0x24780"},
    {1, "field Domain_dbuf Group_multview_control 0 R_init_row3_addr 5 value 0 0xfff 8"},
    {1, "field Domain_dbuf Group_multview_control 0 R_init_row4_addr 5 value 0 0xfff 0"},
    {1, "field Domain_dbuf Group_multview_control 1 R_input_r 5 col 5 0xf 20"},
    {1, "field Domain_dbuf Group_multview_control 1 R_row 0 enable 0 0x3f 0"},
    {3, "field Domain_dbuf Group_audio_ddr_addr 0 R_bas_addr 3 none 0 0xf 0"},
    {3, "field Domain_dbuf Group_audio_ddr_addr 0 R_top_addr 3 mute 0 0x1 3"},
    {0, "memory Domain_dbuf Group_multview_border_palette 1 parameter_inst1 0 0x23a00 128"},
    {1, "memory Domain_dbuf Group_multview_border_palette 1 parameter_inst0 0 0x25000 128"},
};

TEST(Designs, AreWhereTheDataSheetSays) {
    std::vector<std::string> lines[std::size(DESIGNS)];
    for (std::size_t i = 0; i < std::size(DESIGNS); ++i) {
        lines[i] = LinesOf(DESIGNS[i]);
    }
    for (const Spot& spot : SPOTS) {
        EXPECT_EQ(std::count(lines[spot.design].begin(), lines[spot.design].end(), spot.line), 1)
            << DESIGNS[spot.design].name << ": " << spot.line;
    }
    EXPECT_EQ(OfKind(lines[1], "memory Domain_dbuf Group_Chromakey_tables 0").size(), 14U);
    EXPECT_EQ(OfKind(lines[3], "group Domain_dbuf Group_mixertree").size(), 3U);
    EXPECT_EQ(OfKind(lines[3], "group Domain_dbuf Group_key_processor").size(), 10U);
    EXPECT_EQ(OfKind(lines[0], "group Domain_dbuf Group_dve_vcoef").size(), 4U);
}

TEST(Designs, ReachAWordThroughTheirAccessors) {
    char* const base = reinterpret_cast<char*>(0x7000);  // NOLINT(performance-no-int-to-ptr)
    Dve design(VolatileAccessor(), base);
    EXPECT_EQ(design.dbuf().dve_hcoef(2).hor_chroma_coef_dve(3).absoluteAddress(),
              0x7000U + 0x2b580U);
    const auto& field = design.sbuf().chip_misc(0).R_DDR0_buff_stat().ddr0_wr_overflow();
    EXPECT_EQ(field.alignedMask(), 0x3ffU);
    EXPECT_EQ(field.lowestBit(), 22U);
    EXPECT_EQ(design.sbuf().format_det_ctl(3).R_vid_start().line(1).lowestBit(), 12U);
    EXPECT_EQ(Dve::Domain_dbuf::Group_dve_hcoef::NUM_INSTANCES, 8U);
    static_assert(!std::is_copy_constructible_v<Dve> && !std::is_copy_assignable_v<Dve>);
    static_assert(!std::is_polymorphic_v<Dve::Domain_sbuf::Group_chip_misc>);
    static_assert(std::has_virtual_destructor_v<
                  Dve::Domain_sbuf::Group_chip_misc::Register_R_debug::Field_value>);
}

TEST(Designs, StopOnAnInstanceThatDoesNotExist) {
    const struct {
        void (*body)(Dve& design);
        std::string domain;
        std::string group;
    } cases[] = {
        {[](Dve& design) { design.sbuf().shelf_status(1); }, "sbuf", "shelf_status"},
        {[](Dve& design) { design.dbuf().dve_hcoef(8); }, "dbuf", "dve_hcoef"},
        {[](Dve& design) { design.ddr2().ddr2_memory(~0U); }, "ddr2", "ddr2_memory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.group);
        const ChildResult result = RunInChild([&c] {
            Dve design(VolatileAccessor(), nullptr);
            c.body(design);
        });
        EXPECT_EQ(result.signal, SIGABRT);
        const std::string condition = "instance < Group_" + c.group + "::NUM_INSTANCES";
        EXPECT_THAT(result.out, HasSubstr("Assertion \"" + condition +
                                          "\" failed.\" at src/card/velnor/hwmap/"));
        EXPECT_THAT(result.err, HasSubstr("src/card/velnor/hwmap/genfpga_velnor_vp_dve_lean.h:"));
        const std::string domain = "hwmap::Design_velnor_vp_dve<A>::Domain_" + c.domain + "::";
        std::ostringstream report;
        report << ": " << domain << "Group_" << c.group << "& " << domain << c.group
               << "(unsigned int) [with A = VolatileAccessor]: Assertion `" << condition
               << "' failed";
        EXPECT_THAT(result.err, HasSubstr(report.str()));
    }
}

}  // namespace

}  // namespace hwmaptest
