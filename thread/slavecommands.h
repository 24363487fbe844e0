#pragma once

/**
 * The command loop of the slave program: takes commands from `readFd`, runs each with
 * RunShellCommand, and writes its result to `writeFd`. Both are closed at the end.
 *
 *     master: command    -> slave: runs it; a mark, FF or FE, interrupts it
 *     slave:  'A'        -> master: stops sending marks, and echoes the byte
 *     slave:  drops late marks up to the echo, then sends localRC, commandRC, stdout, stderr
 *
 * Ends only if the master is gone or the link is broken: logs that at ERROR and returns 1.
 */
[[nodiscard]] int SlaveAppProcessCommands(int readFd, int writeFd);
