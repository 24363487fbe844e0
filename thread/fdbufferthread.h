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
 * Drains one descriptor on a separate thread and keeps everything it read. The descriptor is
 * borrowed: it must stay open while the thread runs, and is never closed here.
 *
 *     built --start--> running --end of file, stop or a failure--> ended --join or stop--> joined
 *
 * A read that fails counts as end of file. One owner thread starts, stops, joins and destroys the
 * object; destroying it stops it. While the object exists, any thread but a time-critical one may
 * read what was collected.
 */
class FDBufferThread : public Runnable {
  public:
    explicit FDBufferThread(int fd);
    ~FDBufferThread() override;
    FDBufferThread(const FDBufferThread&) = delete;
    FDBufferThread& operator=(const FDBufferThread&) = delete;

    /**
     * Returns 0, -1 if it is already started or has no pipe, or the error number of pthread_create.
     */
    [[nodiscard]] int start();
    /**
     * Asks the thread to end, even if the stream goes on, and joins it. Returns 0, -1 without a
     * thread, or e_Error_WriteFailed, in which case the thread keeps running.
     */
    [[nodiscard]] int stop();
    /** Waits until the thread ends by itself. Results as ThreadRunner::join. */
    [[nodiscard]] int join(void** result);
    bool isCreated() const;

    /** Copies of everything read so far. */
    std::string getText();
    std::list<char> getBytes();

    void* run() override;

  private:
    using Lock = PMutexT<CriticalThreadCantBlockPolicy>;

    /** False if the thread must end. */
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
