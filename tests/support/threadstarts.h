#pragma once

namespace testsupport {

/**
 * Has the program's own code start `count` more threads, and then none: EAGAIN, as where the system
 * has no more of them. Shared libraries start theirs all the same.
 */
void LimitThreadStarts(int count);
void AllowThreadStarts();

}  // namespace testsupport
