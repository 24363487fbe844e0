#include "src/card/velnor/hw/tolmiracomms_impl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <vector>

#include "link/mailbox.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_2_5_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_mm_fcfs_lean.h"
#include "tests/support/child.h"
#include "thread/threadregistrar.h"

using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace {

constexpr size_t MAILBOX_WORDS = MAILBOX_SIZE / 4;
constexpr uint32_t UNTOUCHED = 0xDEADBEEF;

/** A region just large enough to show an access beside the mailbox. */
class TolmiraCommsTest : public testing::Test {
  protected:
    uint32_t& mailboxWord(size_t address) { return i_region[MAILBOX_OFFSET / 4 + address]; }

    std::vector<uint32_t> i_region = std::vector<uint32_t>(0x4000 / 4, UNTOUCHED);
};

template <typename Design>
class TolmiraCommsOfDesign : public TolmiraCommsTest {};

using Designs = testing::Types<hwmap::Design_velnor_vp_mm_fcfs<VolatileAccessor>,
                               hwmap::Design_velnor_vp_dve<VolatileAccessor>,
                               hwmap::Design_velnor_vp_dve_3g<VolatileAccessor>,
                               hwmap::Design_velnor_vp_dve_2_5<VolatileAccessor>,
                               hwmap::Design_velnor_vp_dve_3g_2_5<VolatileAccessor>>;
TYPED_TEST_SUITE(TolmiraCommsOfDesign, Designs);

TYPED_TEST(TolmiraCommsOfDesign, ReachesThe32WordsOfTheMailboxAndNothingElse) {
    {
        TolmiraUpgradeComms<TypeParam> comms(this->i_region.data());
        for (unsigned int address = 0; address < MAILBOX_WORDS; ++address) {
            comms.writeAddress(address, static_cast<unsigned char>(address + 100));
            EXPECT_EQ(comms.readAddress(address), address + 100);
        }
    }
    for (size_t i = 0; i < this->i_region.size(); ++i) {
        const size_t address = i - MAILBOX_OFFSET / 4;
        const bool isMailbox = i >= MAILBOX_OFFSET / 4 && address < MAILBOX_WORDS;
        const auto byte = static_cast<uint32_t>(address + 100);
        EXPECT_EQ(this->i_region[i], isMailbox ? (UNTOUCHED & ~0x1FFU) | byte : UNTOUCHED) << i;
    }
}

using AnyComms = TolmiraUpgradeComms<hwmap::Design_velnor_vp_dve<VolatileAccessor>>;

void (*const ACCESSES[])(AnyComms& comms, unsigned int address) = {
    [](AnyComms& comms, unsigned int address) { (void)comms.readAddress(address); },
    [](AnyComms& comms, unsigned int address) { comms.writeAddress(address, 1); },
};

struct WordCase {
    uint32_t before;
    unsigned char byte;
    uint32_t after;
};

TEST_F(TolmiraCommsTest, WriteReplacesNineBitsAndReadTakesEight) {
    AnyComms comms(i_region.data());
    const WordCase cases[] = {{0xFFFFFFFF, 0xFF, 0xFFFFFEFF},
                              {0x00000000, 0x00, 0x00000000},
                              {0x12345678, 0xAB, 0x123456AB},
                              {0x00000100, 0x01, 0x00000001}};
    for (const WordCase& c : cases) {
        mailboxWord(5) = c.before;
        EXPECT_EQ(comms.readAddress(5), c.before & 0xFF);
        comms.writeAddress(5, c.byte);
        EXPECT_EQ(mailboxWord(5), c.after);
    }
    mailboxWord(7) = 0x1A5;
    EXPECT_EQ(comms.readAddress(7), 0xA5);
}

TEST_F(TolmiraCommsTest, AnAddressPastTheMailboxStops) {
    AnyComms comms(i_region.data());
    for (const auto& access : ACCESSES) {
        const ChildResult result = RunInChild([&] { access(comms, MAILBOX_WORDS); });
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_THAT(result.out, HasSubstr("Assertion \"offset < i_size\" failed."));
    }
}

TEST_F(TolmiraCommsTest, ACriticalThreadIsStopped) {
    AnyComms comms(i_region.data());
    for (const auto& access : ACCESSES) {
        const ChildResult result = RunInChild([&] {
            EXPECT_EQ(ThreadRegistrar::instance().registerFieldMain(0), 0);
            access(comms, 5);
        });
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_THAT(result.out, HasSubstr("ASSERT_BLOCKABLE_THREAD Failed"));
    }
}

/** A design with only the members that the mailbox uses. */
class DoubleOfADesign {
  public:
    DoubleOfADesign& sbuf() { return *this; }
    // NOLINTBEGIN(readability-identifier-naming): the names of the map
    DoubleOfADesign& shelf_status(unsigned int /*instance*/) { return *this; }
    DoubleOfADesign& shelf_status_spi_values() { return *this; }
    // NOLINTEND(readability-identifier-naming)
    DoubleOfADesign& value() { return *this; }
    unsigned int get(size_t offset) const { return i_words[offset]; }
    void set(size_t offset, unsigned int value) { i_words[offset] = value; }

  private:
    unsigned int i_words[MAILBOX_WORDS] = {};
};

TEST(TolmiraComms, NeedsNoMoreOfADesignThanTheWalkToTheMailbox) {
    DoubleOfADesign design;
    TolmiraComms<DoubleOfADesign> comms(&design);
    comms.writeAddress(31, 200);
    EXPECT_EQ(design.get(31), 200U);
    EXPECT_EQ(comms.readAddress(31), 200);
}

}  // namespace
