#pragma once

#include <string>

/**
 * Makes sure that the kernel has memory for the mailbox's page of `/resource0`, whose contents stay
 * as they are. Otherwise the first access through a mapping could end a process. Returns the reason
 * for a failure, or an empty string. An object that is missing, or still too short for a mailbox,
 * is left alone, which is not a failure.
 */
std::string AllocateMailboxPage();
