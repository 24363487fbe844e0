#pragma once

#include <string>

/**
 * Makes sure that the kernel has memory for the mailbox's page of `/resource0`, whose contents stay
 * as they are: without it the first access through a mapping ends a process. Returns why that
 * failed; empty if the page is there. An object that is missing, or still too short for a mailbox,
 * is left alone.
 */
std::string AllocateMailboxPage();
