#pragma once

#include <sys/types.h>

#include <functional>

namespace testsupport {

/** In place of write, in the program's own code; CallWrite does what it stands for. */
using WriteHook = std::function<ssize_t(int fd, const void* bytes, size_t count)>;

/** Null takes it away. Set and taken away while no other thread writes. */
void HookWrites(WriteHook hook);
ssize_t CallWrite(int fd, const void* bytes, size_t count);

/** Called before each ppoll of the program's own code; as above. */
void HookPolls(std::function<void()> before);

}  // namespace testsupport
