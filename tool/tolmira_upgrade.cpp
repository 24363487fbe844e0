#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cpputils/include/standarddescriptors.h"
#include "link/routercomms.h"
#include "logger/assertion.h"
#include "logger/logger.h"
#include "memory/memorymapcontainer.h"
#include "platform/configuration.h"
#include "platform/cpurate.h"
#include "tool/controllercheck.h"
#include "tool/createtolmiracomms.h"
#include "tool/upgradesequence.h"
#include "tool/versioninfo.h"

namespace {

constexpr int EXIT_UPGRADED = 0;
constexpr int EXIT_CONTROLLER_MISSING = 1;
constexpr int EXIT_NOT_UPGRADED = -1;

/** Scans the options. Returns the number of option characters, including unknown ones. */
int ScanOptions(int argc, char** argv, bool& forceUpgrade) {
    int numOptions = 0;
    for (int option = getopt(argc, argv, "f"); option != -1; option = getopt(argc, argv, "f")) {
        ++numOptions;
        if (option == 'f') {
            forceUpgrade = true;
        } else {
            fprintf(stderr, "Unknown argument %c\n", option);
        }
    }
    return numOptions;
}

/** With the controller present: decides, upgrades, and returns the exit value. */
int UpgradeIfNeeded(const char* imagePath, bool forceUpgrade, RouterCommWriter& writer,
                    RouterCommReader& reader) {
    reader.enable();
    const bool needsUpgrade = ControllerNeedsUpgrade(reader);
    if (!needsUpgrade && !forceUpgrade) {
        LOG_MESSAGE(NOTICE, "Controller is already at revision %d\n",
                    GetVersionInfo().getRevision());
        return EXIT_NOT_UPGRADED;
    }
    return UpgradeController(imagePath, writer, reader) ? EXIT_UPGRADED : EXIT_NOT_UPGRADED;
}

}  // namespace

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    // Unbuffered: a pipe shows progress as it happens, and a report survives an abort. Each report
    // is one write, even with a newline inside.
    setvbuf(stdout, nullptr, _IONBF, 0);
    // A log that can no longer be written must not end a transfer in the middle of a page: its
    // reader may go away, its file may reach the quota.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    // If it were set, the scan of the options would stop at the first operand.
    unsetenv("POSIXLY_CORRECT");

    bool forceUpgrade = false;
    const int numOptions = ScanOptions(argc, argv, forceUpgrade);
    if (argc != 3 + numOptions) {
        fprintf(stderr, "Usage: tolmira_upgrade [-f] image configuration\n");
        LOG_FAILED_ASSERTION(ASSERTION_TEXT(argc == 3 + numOptions));
        return EXIT_NOT_UPGRADED;
    }
    // The scan has moved the options to the front.
    const char* imagePath = argv[numOptions + 1];
    const char* configurationPath = argv[numOptions + 2];

    const Configuration configuration{std::string(configurationPath)};
    CpuRateFromConfiguration(configuration);

    MemoryMapContainer memoryMapContainer;
    ASSERT(memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA));
    ASSERT(memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR0));
    ASSERT(memoryMapContainer.createMemoryMap(e_MemoryMap_VELNOR_ALTERA_DDR1));
    MemoryMap* altera = memoryMapContainer.getMemoryMap(e_MemoryMap_VELNOR_ALTERA);
    ASSERT(NULL != altera);  // NOLINT(modernize-use-nullptr): the report shows the expanded NULL

    // Never deleted: the reader writes through it in its destructor.
    static RouterCommsInterface* tolmiraComms = nullptr;
    tolmiraComms = CreateTolmiraComms(altera->getAddress());
    ASSERT(tolmiraComms);
    RouterCommWriter writer(tolmiraComms);
    RouterCommReader reader(tolmiraComms);

    if (!WaitForController(writer)) {
        return EXIT_CONTROLLER_MISSING;
    }
    return UpgradeIfNeeded(imagePath, forceUpgrade, writer, reader);
}
