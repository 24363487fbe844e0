#include "src/card/velnor/hwmap/designs_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
