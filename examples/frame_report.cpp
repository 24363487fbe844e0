// frame_report CONFIGURATION: an example of a frame's program. It reads a configuration file, runs
// a shell command, and shows a live word of the card.
#include <cstdio>
#include <sstream>

#include "memory/memorymapcontainer.h"
#include "platform/configuration.h"
#include "src/card/velnor/hwmap/genfpga_velnor_vp_mm_fcfs.h"
#include "thread/systemcaller.h"

int main(int argc, char** argv) {
    const Configuration configuration(argc > 1 ? argv[1] : "frame.cfg");
    unsigned rate = 0;
    std::istringstream value;
    if (configuration.getValue("CPU_RATE", value) == 0 && value >> rate) {
        printf("processor: %u MHz\n", rate);
    }

    // The program syscallslave runs the command. It is found in PATH, or where initialize() says.
    const SystemCaller::RC result = SystemCaller::instance().exec("uname -r", nullptr, nullptr);
    if (result.localRC != 0) {
        fprintf(stderr, "frame_report: cannot run a command: %s; is syscallslave installed?\n",
                result.stderr.c_str());
        return 1;
    }
    printf("kernel: %s", result.stdout.c_str());

    MemoryMapContainer maps;  // creates the card's shared memory if it doesn't exist
    MemoryMap* card = maps.createMemoryMap(e_MemoryMap_VELNOR_ALTERA);
    if (card == nullptr) {
        return 1;
    }
    hwmap::Design_velnor_vp_mm_fcfs<VolatileAccessor> design(VolatileAccessor(),
                                                             card->getAddress());
    auto& mailbox = design.sbuf().shelf_status(0).shelf_status_spi_values().value();
    printf("controller: revision %u\n", mailbox.get(17) << 8 | mailbox.get(16));
    return 0;
}
