// A design over the test's own accessor. It needs the generated sources, because the library has
// the classes for VolatileAccessor only.

#include <gtest/gtest.h>

#include <vector>

// NOLINTBEGIN(bugprone-suspicious-include): the bodies of the templates
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_1.cpp"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_2.cpp"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_3.cpp"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_4.cpp"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_5.cpp"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_domains.cpp"
// NOLINTEND(bugprone-suspicious-include)

namespace {

struct Access {
    const void* accessor;
    std::uintptr_t address;
};

std::vector<Access> accesses;

/** Records which accessor object made each access. */
class NamedAccessor {
  public:
    unsigned int read(const unsigned int* address) {
        accesses.push_back({this, reinterpret_cast<std::uintptr_t>(address)});
        return 0;
    }
    void write(unsigned int* address, unsigned int /*value*/) { read(address); }
};

// The accessor that is passed in is destroyed after the constructor's call.
TEST(Designs, AccessThroughTheirOwnAccessorAndOnlyWhenAsked) {
    using Design = hwmap::Design_velnor_vp_dve_2_5<NamedAccessor>;
    char* const base = reinterpret_cast<char*>(0x7000);  // NOLINT(performance-no-int-to-ptr)
    {
        Design design(NamedAccessor(), base);
        EXPECT_TRUE(accesses.empty());
        design.sbuf().shelf_status(0).shelf_status_spi_values().value().get(10);
        design.dbuf().Chromakey_routing(0);
        design.sbuf().chip_misc(0).R_debug().value().set(1);
        ASSERT_EQ(accesses.size(), 3U);
        EXPECT_EQ(accesses[0].address, 0x7000U + 0x2828U);
        EXPECT_EQ(accesses[2].address, 0x7000U + 0x8U);
        for (const Access& access : accesses) {
            EXPECT_EQ(access.accessor, static_cast<const void*>(&design));
        }
    }
    EXPECT_EQ(accesses.size(), 3U);
}

}  // namespace
