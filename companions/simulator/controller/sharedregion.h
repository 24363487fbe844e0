#pragma once

#include <cstdint>
#include <string>

namespace controller {

/**
 * A mapped POSIX shared-memory object: the address space of the card, seen from its far side.
 *
 * Opening creates the object where it is missing, grows it where it is smaller than that space, and
 * allocates the mailbox's page, since a store without memory would end the process. It never
 * shrinks, clears or removes an object: the host may hold it at the same time. Mapping and
 * descriptor live as long as this object; the name outlives both.
 */
class SharedRegion {
  public:
    SharedRegion() = default;
    ~SharedRegion();
    SharedRegion(const SharedRegion&) = delete;
    SharedRegion& operator=(const SharedRegion&) = delete;

    /** Maps the object. False: nothing is mapped, and `error()` says why. */
    [[nodiscard]] bool open(const std::string& name);

    /** The first word of the mailbox; only after a successful `open`. */
    std::uint32_t* mailbox() const;
    const std::string& error() const { return i_error; }
    /** Of the object, for locks on it; -1 before a successful `open`. */
    int descriptor() const { return i_fd; }

  private:
    bool prepare();
    bool fail(const char* step, int error);

    int i_fd = -1;
    void* i_address = nullptr;
    std::string i_error;
};

}  // namespace controller
