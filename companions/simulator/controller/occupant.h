#pragma once

#include <string>

namespace controller {

/**
 * Takes the controller's lock on the object, and says who keeps this controller from serving it,
 * and what to do; empty if nobody does. In the way are another controller, and a host that talks to
 * one; a host that still waits for a controller isn't, nor is a mailbox that a dead one left.
 *
 * `fd` is the object's descriptor, open for writing; `presence` is the mailbox's byte that is not 0
 * once a controller has announced itself.
 */
std::string OccupantOf(int fd, unsigned char presence);

}  // namespace controller
