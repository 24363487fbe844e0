#include "companions/operator/run/outputqueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

#include "companions/commandline/regularfile.h"

namespace run {

namespace {

/** Pieces are joined up to this many bytes, to save memory with many short lines. */
constexpr std::size_t PIECE = 65536;

}  // namespace

/** Bytes for a descriptor, or a function that sends `size` bytes. */
struct OutputQueue::Piece {
    int descriptor;
    std::string bytes;
    std::function<void()> send;
    std::size_t size;
};

struct OutputQueue::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Piece> pieces;
    /** Bytes that wait or are being written. */
    std::size_t waiting = 0;
    std::size_t dropped = 0;
    bool over = false;
};

OutputQueue::OutputQueue() : i_state(std::make_shared<State>()) {
    std::thread(write, i_state).detach();
}

OutputQueue::~OutputQueue() {
    const std::lock_guard<std::mutex> lock(i_state->mutex);
    i_state->over = true;
    i_state->changed.notify_all();
}

void OutputQueue::put(int descriptor, const std::string& bytes) {
    add({descriptor, bytes, nullptr, bytes.size()});
}

void OutputQueue::put(std::function<void()> send, std::size_t bytes) {
    add({-1, "", std::move(send), bytes});
}

void OutputQueue::add(Piece piece) {
    const std::lock_guard<std::mutex> lock(i_state->mutex);
    if (i_state->waiting + piece.size > LIMIT) {
        i_state->dropped += piece.size;
        return;
    }
    i_state->waiting += piece.size;
    std::deque<Piece>& pieces = i_state->pieces;
    const bool joins = !piece.send && !pieces.empty() && !pieces.back().send &&
                       pieces.back().descriptor == piece.descriptor &&
                       pieces.back().size + piece.size <= PIECE;
    if (joins) {
        pieces.back().bytes += piece.bytes;
        pieces.back().size += piece.size;
    } else {
        pieces.push_back(std::move(piece));
    }
    i_state->changed.notify_all();
}

bool OutputQueue::empty() const {
    return drain(std::chrono::milliseconds(0));
}

bool OutputQueue::drain(std::chrono::milliseconds limit) const {
    std::unique_lock<std::mutex> lock(i_state->mutex);
    return i_state->changed.wait_for(lock, limit, [this] { return i_state->waiting == 0; });
}

std::size_t OutputQueue::dropped() const {
    const std::lock_guard<std::mutex> lock(i_state->mutex);
    return i_state->dropped;
}

void OutputQueue::write(const std::shared_ptr<State>& state) {
    std::set<int> lost;
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        state->changed.wait(lock, [&] { return state->over || !state->pieces.empty(); });
        if (state->over) {
            return;
        }
        const Piece piece = std::move(state->pieces.front());
        state->pieces.pop_front();
        lock.unlock();
        if (piece.send) {
            piece.send();
        } else if (lost.count(piece.descriptor) == 0 &&
                   !commandline::WriteAll(piece.descriptor, piece.bytes)) {
            lost.insert(piece.descriptor);
        }
        lock.lock();
        state->waiting -= piece.size;
        state->changed.notify_all();
    }
}

}  // namespace run
