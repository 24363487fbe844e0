#pragma once

#include <string>

#include "thread/systemcaller.h"

/**
 * Runs one command with /bin/sh, in its own process group and with default signals, and waits for
 * it: the slave's half of a call. With `capture` its whole output is collected, until every process
 * that inherited its descriptors has closed them.
 *
 * A mark on `interruptFd`, which is borrowed, or its end of file, ends the group: SIGTERM, a second
 * later SIGKILL. Then localRC is -1, or e_Error_Timeout for the mark of a timeout.
 *
 * If a thread cannot be started, the command runs to its end and can't be interrupted. An output
 * that no thread collects is closed. Then localRC is -1, and the status is not reported.
 */
[[nodiscard]] SystemCaller::RC RunShellCommand(const std::string& command, int interruptFd,
                                               bool capture);
