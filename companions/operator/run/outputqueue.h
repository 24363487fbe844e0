#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace run {

/**
 * Writes to this process's standard output and standard error in a separate thread. A reader that
 * stops reading blocks only that thread. At most LIMIT bytes wait in memory. The descriptors stay
 * blocking, since other processes share them. After a write error, such as on a lost terminal,
 * further bytes for that descriptor are discarded.
 *
 * If standard output and standard error are the same file, they must share one queue, which keeps
 * their order. The destructor discards what is still waiting.
 */
class OutputQueue {
  public:
    /**
     * The longest log of an upgrade in bytes: 65535 pages, five attempts each, a line of at most
     * 128 for each attempt, and the other lines.
     */
    static constexpr std::size_t LIMIT = std::size_t{65535} * 5 * 128 + 65536;

    OutputQueue();
    ~OutputQueue();
    OutputQueue(const OutputQueue&) = delete;
    OutputQueue& operator=(const OutputQueue&) = delete;

    /** Never waits. Bytes above the limit are dropped. */
    void put(int descriptor, const std::string& bytes);
    /** The same without a descriptor: the thread calls `send` once, and LIMIT includes `bytes`. */
    void put(std::function<void()> send, std::size_t bytes);
    /** Whether everything has been written. */
    bool empty() const;
    /** Waits until everything is written; false if that takes longer than `limit`. */
    bool drain(std::chrono::milliseconds limit) const;
    /** How many bytes were dropped. */
    std::size_t dropped() const;

  private:
    struct Piece;
    struct State;
    void add(Piece piece);
    static void write(const std::shared_ptr<State>& state);

    /** Shared with the thread, which outlives the object while a write blocks. */
    std::shared_ptr<State> i_state;
};

}  // namespace run
