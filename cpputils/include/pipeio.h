#pragma once

#include <csignal>
#include <string>
#include <vector>

/**
 * Length-prefixed input and output on pipes and other stream descriptors. An integer is 4 bytes in
 * host byte order. A string or a byte vector is its length, as an unsigned integer, followed by its
 * bytes.
 *
 * Every function returns 0 or an error number that strerror knows. Length and content are separate
 * system calls, so two threads must not use one end of a pipe at the same time. A signal that
 * interrupts a call is a failure (EINTR). After a failure the two sides may disagree about where
 * the next item begins.
 */

/**
 * One write call for the 4 bytes of a number, and one for the content. A partial write is EIO. A
 * pipe without a reader is EPIPE, and no SIGPIPE is raised.
 */
[[nodiscard]] int WriteString(int fd, const std::string& text);
[[nodiscard]] int WriteBytes(int fd, const std::vector<char>& bytes);
[[nodiscard]] int WriteInt(int fd, int value);
/** A single byte, without a length. */
[[nodiscard]] int WriteByte(int fd, unsigned char byte);

/**
 * These read byte by byte, so they never take a byte of the next item. End of file is EPIPE. On
 * failure the text and the number are unchanged. The vector is resized as soon as the length has
 * arrived; the bytes that arrived are its first elements.
 */
[[nodiscard]] int ReadString(int fd, std::string& text);
[[nodiscard]] int ReadBytes(int fd, std::vector<char>& bytes);
[[nodiscard]] int ReadInt(int fd, int& value);
/** A single byte, unchanged on failure. */
[[nodiscard]] int ReadByte(int fd, unsigned char& byte);

/**
 * Closes every descriptor from 3 up to the process's limit except the two given; -1 is no
 * descriptor. Safe between fork and exec: it neither allocates nor locks.
 */
void CloseAllExcept(int keep1, int keep2);

/**
 * While it exists, the calling thread's writes to a pipe without a reader fail with EPIPE and raise
 * no signal. The constructor blocks SIGPIPE for this thread. The destructor discards a SIGPIPE that
 * became pending since then and restores the mask. A SIGPIPE that was pending before stays pending.
 * errno is preserved.
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
