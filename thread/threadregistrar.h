#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <string>

#include "cpputils/include/thread/annotations.h"
#include "thread/pmutex.h"

// The policies ask the registrar, so their header comes after it.
class CriticalThreadCantBlockPolicy;
class EveryThreadCanBlockPolicy;

/** A thread of any process: its handle and the process id. Ordered by process, then handle. */
struct ThreadId {
    pthread_t handle;
    pid_t process;

    static ThreadId ofCaller();
};

bool operator==(const ThreadId& left, const ThreadId& right);
bool operator<(const ThreadId& left, const ThreadId& right);

/**
 * A slot for one thread. It is read without a lock, so all its fields are atomic, and `valid` is
 * stored last with release: a thread that loads it true with acquire sees the other fields.
 */
class FieldMainSlot {
  public:
    bool isValid() const { return i_valid.load(std::memory_order_acquire); }
    /** Valid, and its handle is the caller's; the process isn't compared. */
    bool hasHandleOfCaller() const {
        return isValid() && pthread_equal(i_handle.load(std::memory_order_relaxed), pthread_self());
    }
    /** Valid, and taken by the thread `id`. */
    bool holds(const ThreadId& id) const { return isValid() && this->id() == id; }

    ThreadId id() const {
        return {i_handle.load(std::memory_order_relaxed),
                i_process.load(std::memory_order_relaxed)};
    }
    uint32_t cookie() const { return i_cookie.load(std::memory_order_relaxed); }

    void take(const ThreadId& id, uint32_t cookie);
    void free() { i_valid.store(false, std::memory_order_release); }

  private:
    std::atomic<pthread_t> i_handle{0};
    std::atomic<pid_t> i_process{0};
    std::atomic<uint32_t> i_cookie{0};
    std::atomic<bool> i_valid{false};
};

/**
 * Records which threads of the process are the time-critical FieldMain threads, at most two, and
 * the names of the others. The logger and the blocking policies ask it on every use.
 *
 * All operations act on the calling thread. The questions about FieldMain threads take no lock. A
 * lock guards the names. A FieldMain thread must not take it, so such a thread neither names itself
 * nor lists the threads.
 */
class ThreadRegistrar {
  public:
    ThreadRegistrar(const ThreadRegistrar&) = delete;
    ThreadRegistrar& operator=(const ThreadRegistrar&) = delete;

    /** Built on first use, when it also registers with the logger; destroyed at exit. */
    static ThreadRegistrar& instance();

    /**
     * False only if the instance exists and no thread of this process has ever taken a FieldMain
     * slot: then isFieldMain() is false for every thread. One load, without a guard.
     */
    static bool mayHaveFieldMain() { return fieldMainWasTaken.load(std::memory_order_relaxed); }

    /**
     * Takes the first free slot. Returns 0, or -1 if there is none. A second call takes a second
     * slot.
     */
    [[nodiscard]] int registerFieldMain(uint32_t cookie);
    /** The slot, 0 or 1, that has the caller's handle; -1 for any other thread. */
    int fieldMainIndex() const;
    bool isFieldMain() const { return fieldMainIndex() != -1; }
    /** The caller's cookie from its registration; 0 for any other thread. */
    uint32_t fieldMainCookie() const;

    /** Names the caller, replacing an earlier name. */
    void registerName(const std::string& name);
    /** Frees the caller's first slot or, if it holds none, forgets its name. */
    void unregisterThread();

    /** "FM0 p:777", "name p:777" or "p:777". */
    std::string describeThread();
    /**
     * The same with a trailing blank, cut to `length` bytes including the terminating zero. No
     * heap.
     */
    void describeThreadNoAlloc(char* buffer, size_t length);
    /** A line for each FieldMain thread and each named one. Takes the lock of the names. */
    std::string listThreads();

    /** Takes a third slot, for a single thread. Returns 0, or -1 if any thread holds it. */
    [[nodiscard]] int claimSoleThread();
    /** Frees that slot if the caller holds it. */
    void releaseSoleThread();
    bool isSoleThread() const { return i_soleThread.hasHandleOfCaller(); }

  private:
    using Names = std::map<ThreadId, std::string>;
    using NamesMutex = PMutexT<CriticalThreadCantBlockPolicy>;
    using SlotsMutex = PMutexT<EveryThreadCanBlockPolicy>;

    ThreadRegistrar();
    virtual ~ThreadRegistrar();
    /** The slot with the caller's handle and process, or -1. */
    int ownSlot() const;
    /** The map, or null if no thread was named yet. */
    Names* names() REQUIRES(i_namesMutex) { return i_names.load(); }
    /** Calls `use` with the caller's name, if it has one, under the lock of the names. */
    template <typename Use>
    void withName(Use use);

    /**
     * True until the instance exists, too, so that the first question builds it. Relaxed: a thread
     * asks about itself alone, and sees the stores that it made.
     */
    static inline std::atomic<bool> fieldMainWasTaken{true};

    /**
     * Created by the first registerName. Without the lock it may only be compared with null; see
     * `names`.
     */
    std::atomic<Names*> i_names{nullptr};
    NamesMutex i_namesMutex;
    std::array<FieldMainSlot, 2> i_fieldMain;
    /** Guards freeing and listing the slots, and changes of the single-thread slot. */
    SlotsMutex i_slotsMutex;
    FieldMainSlot i_soleThread;
};
