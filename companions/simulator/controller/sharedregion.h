#pragma once

#include <cstdint>
#include <string>

namespace controller {

/**
 * A mapped POSIX shared-memory object: the card's address space, as the controller sees it.
 *
 * open() creates the object if it is missing, and grows it if it is smaller than that space. It
 * allocates the mailbox's page, since a store without memory would raise SIGBUS. It never shrinks,
 * clears or removes an object, because a host may be using it. The destructor unmaps and closes it;
 * the name stays.
 */
class SharedRegion {
  public:
    SharedRegion() = default;
    ~SharedRegion();
    SharedRegion(const SharedRegion&) = delete;
    SharedRegion& operator=(const SharedRegion&) = delete;

    /** Maps the object. False with the reason in `error()`; nothing is mapped then. */
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
