#include "tool/controllercheck.h"

#include <unistd.h>

#include "logger/logger.h"
#include "tool/versioninfo.h"

bool WaitForController(RouterCommWriter& writer) {
    constexpr int presencePolls = 60;
    for (int failedPolls = 0; failedPolls < presencePolls; ++failedPolls) {
        if (writer.isControllerPresent()) {
            return true;
        }
        LOG_MESSAGE(NOTICE, "Controller isn't there, sleeping for 1 second\n");
        sleep(1);
    }
    LOG_MESSAGE(NOTICE, "Controller is missing, skipping upgrade");
    return false;
}

bool ControllerNeedsUpgrade(RouterCommReader& reader) {
    LOG_MESSAGE(NOTICE, "Controller is %d\n", reader.getControllerRevision());
    return GetVersionInfo().getRevision() != reader.getControllerRevision();
}
