#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace run {

/**
 * What goes to this process's standard output and standard error, written by a thread of its own: a
 * reader that stops reading delays nobody but that thread. The bytes wait in memory, at most LIMIT
 * of them; no descriptor is made non-blocking, since others share it. A descriptor that can't be
 * written any more, such as that of a lost terminal, takes all the rest and shows nothing.
 *
 * Standard output and standard error that lead to one place belong in one queue, which keeps their
 * order. When the object goes, what is still waiting is given up.
 */
class OutputQueue {
  public:
    /**
     * The longest log of an upgrade: a line of at most 128 bytes for each of five attempts at each
     * of 65535 pages, and the lines of the rest of the run.
     */
    static constexpr std::size_t LIMIT = std::size_t{65535} * 5 * 128 + 65536;

    OutputQueue();
    ~OutputQueue();
    OutputQueue(const OutputQueue&) = delete;
    OutputQueue& operator=(const OutputQueue&) = delete;

    /** Never waits. Bytes above the limit are dropped. */
    void put(int descriptor, const std::string& bytes);
    /** The same for what is no descriptor: the queue's thread calls `send` once. */
    void put(std::function<void()> send, std::size_t bytes);
    /** Whether all has been written. */
    bool empty() const;
    /** Waits until all has been written, at most for this long; whether it has. */
    bool drain(std::chrono::milliseconds limit) const;
    /** How many bytes were dropped. */
    std::size_t dropped() const;

  private:
    struct Piece;
    struct State;
    void add(Piece piece);
    static void write(const std::shared_ptr<State>& state);

    /** Shared with the thread, which may outlive the object in a write that never ends. */
    std::shared_ptr<State> i_state;
};

}  // namespace run
