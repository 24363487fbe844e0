#pragma once

/**
 * An anonymous pipe and its two descriptors, which it owns; -1 is a closed end. Neither end is a
 * standard descriptor, even in a process that was started without these, and both are closed on
 * exec. No locking: the owner must keep two threads from closing and using an end at once.
 */
class PipeEnds {
  public:
    PipeEnds() = default;
    ~PipeEnds() { close(); }
    PipeEnds(const PipeEnds&) = delete;
    PipeEnds& operator=(const PipeEnds&) = delete;

    /**
     * Closes the open ends, then makes a new pipe. Returns 0, or -1 with errno set and both ends
     * closed.
     */
    [[nodiscard]] int create();
    void closeRead();
    void closeWrite();
    void close();

    int readEnd() const { return i_read; }
    int writeEnd() const { return i_write; }

  private:
    int i_read = -1;
    int i_write = -1;
};
