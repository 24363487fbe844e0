#pragma once

#include <csignal>
#include <string>
#include <vector>

/**
 * Length-prefixed input and output on pipes and other stream descriptors. An integer is 4 bytes in
 * host byte order; a string or a byte vector is its length, as an unsigned integer, and its bytes.
 *
 * Every function returns 0 or an error number that strerror knows. Length and content are separate
 * system calls, so two threads must not use one end of a pipe at the same time. A signal that
 * interrupts a call is a failure (EINTR). A failure midway leaves the stream out of step.
 */

/**
 * One write call for the 4 bytes of a number, one for the content. A write that takes only a part
 * is EIO; a reader that is gone is EPIPE, and no SIGPIPE is raised.
 */
[[nodiscard]] int WriteString(int fd, const std::string& text);
[[nodiscard]] int WriteBytes(int fd, const std::vector<char>& bytes);
[[nodiscard]] int WriteInt(int fd, int value);
/** A byte alone, without a length. */
[[nodiscard]] int WriteByte(int fd, unsigned char byte);

/**
 * These read byte by byte, so they take no byte too many. The end of the stream is EPIPE. On
 * failure the text and the number stay as they are; the vector has the stated length at once, if
 * that arrived, and what came behind it stands at its front.
 */
[[nodiscard]] int ReadString(int fd, std::string& text);
[[nodiscard]] int ReadBytes(int fd, std::vector<char>& bytes);
[[nodiscard]] int ReadInt(int fd, int& value);
/** A byte alone; it stays as it is on failure. */
[[nodiscard]] int ReadByte(int fd, unsigned char& byte);

/**
 * Closes every descriptor from 3 up to the process's limit but the two given; -1 keeps nothing. For
 * a child between fork and exec: it neither allocates nor locks.
 */
void CloseAllExcept(int keep1, int keep2);

/**
 * While it lives, the calling thread's writes to a pipe without a reader fail with EPIPE and raise
 * nothing. It blocks SIGPIPE for this thread, at its end takes the one that came meanwhile off
 * again, and restores the mask; a SIGPIPE that was pending before stays. errno is preserved.
 */
class SigPipeGuard {
  public:
    SigPipeGuard();
    ~SigPipeGuard();
    SigPipeGuard(const SigPipeGuard&) = delete;
    SigPipeGuard& operator=(const SigPipeGuard&) = delete;

  private:
    sigset_t i_previousMask;
    bool i_wasPending;
};
