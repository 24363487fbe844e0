#pragma once

#include <string>

namespace controller {

/**
 * Takes the controller's lock on the object. Returns why this controller must not serve it and what
 * to do, or an empty text. Another controller prevents it, and so does a host that is talking to
 * one. A host that still waits for a controller doesn't, nor does a mailbox left by a dead one.
 *
 * `fd` is the object's descriptor, open for writing. `presence` is the mailbox's byte that is not 0
 * once a controller has announced itself.
 */
std::string OccupantOf(int fd, unsigned char presence);

}  // namespace controller
