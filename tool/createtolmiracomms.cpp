#include "tool/createtolmiracomms.h"

#include <algorithm>
#include <iterator>

#include "logger/assertion.h"
#include "platform/options.h"
#include "src/card/velnor/hw/tolmiracomms_impl.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_2_5_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_2_5_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_3g_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_dve_lean.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_mm_fcfs_lean.h"

namespace {

template <typename HWAltera>
RouterCommsInterface* NewComms(void* base) {
    return new TolmiraUpgradeComms<HWAltera>(base);
}

using MmFcfs = hwmap::Design_velnor_vp_mm_fcfs<VolatileAccessor>;
using Dve = hwmap::Design_velnor_vp_dve<VolatileAccessor>;
using Dve3g = hwmap::Design_velnor_vp_dve_3g<VolatileAccessor>;
using Dve25 = hwmap::Design_velnor_vp_dve_2_5<VolatileAccessor>;
using Dve3g25 = hwmap::Design_velnor_vp_dve_3g_2_5<VolatileAccessor>;

struct ModeDesign {
    e_SwitcherMode mode;
    RouterCommsInterface* (*newComms)(void* base);
};

constexpr ModeDesign MODE_DESIGNS[] = {
    {e_SwitcherMode_Pelwin_FCFS, NewComms<MmFcfs>}, {e_SwitcherMode_Pelwin, NewComms<Dve>},
    {e_SwitcherMode_Pelwin_25_2997, NewComms<Dve>}, {e_SwitcherMode_Pelwin_3G, NewComms<Dve3g>},
    {e_SwitcherMode_2_5ME, NewComms<Dve25>},        {e_SwitcherMode_2_5ME_25_2997, NewComms<Dve25>},
    {e_SwitcherMode_2_5ME_3G, NewComms<Dve3g25>},
};

}  // namespace

RouterCommsInterface* CreateTolmiraComms(void* base) {
    Options options(e_VelnorType_Profile2);
    options.load();
    return CreateTolmiraComms(base, options.getSwitcherMode());
}

RouterCommsInterface* CreateTolmiraComms(void* base, e_SwitcherMode mode) {
    const auto* found = std::find_if(std::begin(MODE_DESIGNS), std::end(MODE_DESIGNS),
                                     [&](const ModeDesign& row) { return row.mode == mode; });
    if (found == std::end(MODE_DESIGNS)) {
        const char* name = EnumConverter::EnumToString(mode);
        LOG_MESSAGE(CRITICAL, "Unknown SwitcherMode %s", name != nullptr ? name : "");
        ASSERT(false);
    }
    return found->newComms(base);
}
