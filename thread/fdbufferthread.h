#pragma once

#include <list>
#include <sstream>
#include <string>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "thread/pipeends.h"
#include "thread/pmutex.h"
#include "thread/threadrunner.h"

/**
 * Drains one descriptor on a thread of its own and keeps all that it read. The descriptor is
 * borrowed: it must stay open while the thread runs, and is never closed here.
 *
 *     built --start--> running --end of file, stop or a failure--> ended --join or stop--> joined
 *
 * A read that fails looks like the end of file. The owner's thread starts, stops, joins and
 * destroys it, and destroying it stops it. What was collected can be had at any time, by any thread
 * but a time-critical one, until the object goes.
 */
class FDBufferThread : public Runnable {
  public:
    explicit FDBufferThread(int fd);
    ~FDBufferThread() override;
    FDBufferThread(const FDBufferThread&) = delete;
    FDBufferThread& operator=(const FDBufferThread&) = delete;

    /** 0; -1 if it is started already or has no pipe; else the error number of pthread_create. */
    [[nodiscard]] int start();
    /**
     * Asks the thread to end, wherever the stream is, and joins it. 0; -1 without a thread;
     * e_Error_WriteFailed, and then the thread runs on.
     */
    [[nodiscard]] int stop();
    /** Waits for the thread's own end. Results as ThreadRunner::join. */
    [[nodiscard]] int join(void** result);
    bool isCreated() const;

    std::string getText();
    std::list<char> getBytes();

    void* run() override;

  private:
    using Lock = PMutexT<CriticalThreadCantBlockPolicy>;

    /** False when the thread is to end. */
    bool waitAndServe();
    bool takeByte();
    void takeCommand();

    const int i_fd;
    Lock i_lock;
    std::ostringstream i_text GUARDED_BY(i_lock);
    std::list<char> i_bytes GUARDED_BY(i_lock);
    /** From the owner to the thread. */
    PipeEnds i_commandPipe;
    ThreadRunner i_runner;
};
