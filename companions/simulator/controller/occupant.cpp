#include "companions/simulator/controller/occupant.h"

#include "link/mailbox.h"
#include "memory/hostlock.h"

namespace controller {

std::string OccupantOf(int fd, unsigned char presence) {
    if (!LockAsController(fd)) {
        return "another tolmira_controller serves it, " +
               ProcessText(ControllerOf(fd).value_or(0)) + "; stop that one or use --force";
    }
    const std::optional<pid_t> host = HostOf(fd);
    if (host && presence != STATE_ABSENT) {
        return "a tolmira_upgrade is at work on it, " + ProcessText(*host) +
               "; wait until it has ended or use --force";
    }
    return "";
}

}  // namespace controller
