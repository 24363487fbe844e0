#include "thread/threadrunner.h"

#include <atomic>

#include "thread/pthread.h"
#include "thread/threadregistrar.h"

class ThreadRunner::Impl {
  public:
    Impl(Runnable* theRunnable, const std::string& theName, bool detached, int theClass)
        : runnable(theRunnable), thread(detached), name(theName), threadClass(theClass) {}
    virtual ~Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    static void* threadEntry(void* argument);

    Runnable* const runnable;
    // Set by the starting thread, cleared by the started one: a reader of false sees what run did.
    std::atomic<bool> running{false};
    PThread thread;
    const std::string name;
    const int threadClass;
};

void* ThreadRunner::Impl::threadEntry(void* argument) {
    Impl& self = *static_cast<Impl*>(argument);
    ThreadRegistrar::instance().registerName(self.name);
    SetCurrentThreadClass(self.threadClass);
    void* const result = self.runnable->run();
    self.running = false;
    ThreadRegistrar::instance().unregisterThread();
    return result;
}

void SetCurrentThreadClass(int /*threadClass*/) {}

ThreadRunner::ThreadRunner(Runnable* runnable, const std::string& name, bool detached,
                           int threadClass)
    : i_impl(new Impl(runnable, name, detached, threadClass)) {}

ThreadRunner::~ThreadRunner() = default;

int ThreadRunner::start() {
    i_impl->running = true;
    return i_impl->thread.create(Impl::threadEntry, &*i_impl);
}

int ThreadRunner::join(void** result) {
    return i_impl->thread.join(result);
}

bool ThreadRunner::isCreated() const {
    return i_impl->thread.isCreated();
}

bool ThreadRunner::isRunning() const {
    return i_impl->running;
}
