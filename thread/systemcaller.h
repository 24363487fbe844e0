#pragma once

#include <sys/time.h>
#include <sys/types.h>

#include <string>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "thread/interruptactions.h"
#include "thread/interruptthread.h"
#include "thread/pipeends.h"
#include "thread/pmutex.h"

/**
 * Runs shell commands, one at a time, for this whole process.
 *
 * It never forks a shell itself. A small slave program, syscallslave, runs at the lowest priority
 * and gets each command through a pipe. It runs the command with /bin/sh in a separate process
 * group and sends back the status and the whole output. The slave starts with the first command, is
 * replaced when it can't be reached, and is ended at exit.
 *
 *     no slave --initialize, exec--> slave running --destroy, broken link--> no slave
 *
 * Any thread but a time-critical one may call. A caller waits for the commands before its own, then
 * for the end of its own and of every process that holds the command's output open. A background
 * process that has redirected its output is not waited for and goes on.
 */
class SystemCaller {
  public:
    /** The result of a command. */
    struct RC {
        /**
         * 0, e_Error_Timeout, e_Error_NotInitialized, or -1 for an interrupted command and any
         * other failure of the call.
         */
        int localRC = 0;
        /** The status as waitpid returns it: the exit value 3 is 768. */
        int commandRC = 0;
        /** The command's standard output. */
        std::string stdout;
        /** The command's standard error or, if localRC isn't 0, the description of that failure. */
        std::string stderr;
    };

    SystemCaller(const SystemCaller&) = delete;
    SystemCaller& operator=(const SystemCaller&) = delete;

    /** Built on first use and destroyed at exit, together with the slave. */
    static SystemCaller& instance();

    /**
     * Starts the slave, in place of a running one. It is the program syscallslave in the directory
     * part of `path`; without a slash it is searched for in PATH. If the slave can't start, the
     * first command fails.
     */
    void initialize(const std::string& path);
    /** Ends the slave, which takes a second. */
    void destroy();

    /**
     * Runs one command and waits for it. `interrupter` and `timeout` interrupt the command; both
     * are borrowed and may be null. If the link to the slave fails, the slave is ended, and the
     * next command starts another.
     */
    [[nodiscard]] RC exec(const std::string& command, Interrupter* interrupter,
                          const timeval* timeout);
    /**
     * These return localRC or, if that is 0, commandRC; a result other than 0 is logged. `seconds`
     * limits each run of the command.
     */
    [[nodiscard]] int execLogged(const std::string& command);
    [[nodiscard]] int execTimed(const std::string& command, int seconds, Interrupter* interrupter);
    /**
     * Repeats a command that times out, up to `retries` more times; without limit if `retries` is
     * negative. Returns the last run's result.
     */
    [[nodiscard]] RC execRetry(const std::string& command, const timeval* timeout, int retries);
    [[nodiscard]] int execRetryLogged(const std::string& command, int seconds, int retries);

  private:
    using Lock = PMutexT<CriticalThreadCantBlockPolicy>;

    SystemCaller();
    ~SystemCaller();

    [[noreturn]] void becomeSlave(const char* readFd, const char* writeFd) REQUIRES(i_lock);
    [[nodiscard]] int runCommand(const std::string& command, Interrupter* interrupter,
                                 const timeval* timeout, RC& result) REQUIRES(i_lock);
    [[nodiscard]] bool sendCommand(const std::string& command) REQUIRES(i_lock);
    [[nodiscard]] int awaitEnd(Interrupter* interrupter, const timeval* timeout, RC& result)
        REQUIRES(i_lock);
    [[nodiscard]] int fetchResult(unsigned char acknowledge, RC& result) REQUIRES(i_lock);

    /** Recursive: exec calls initialize and destroy, which take it too. */
    Lock i_lock;
    pid_t i_slavePid GUARDED_BY(i_lock) = -1;
    /** The pipes and the slave exist. */
    bool i_initialized GUARDED_BY(i_lock) = false;
    std::string i_slavePath GUARDED_BY(i_lock);
    /** From the master to the slave, and from the slave to the master. */
    PipeEnds i_commandPipe GUARDED_BY(i_lock);
    PipeEnds i_resultPipe GUARDED_BY(i_lock);
};

/**
 * localRC or, if that is 0, commandRC. A result other than 0 is logged with the command and its
 * output.
 */
int LogAndReturnInt(const SystemCaller::RC& result, const std::string& command);
