#include "thread/pthread.h"

#include <pthread.h>

#include <cstring>

#include "logger/logger.h"

class PThread::Impl {
  public:
    explicit Impl(bool isDetached) : detached(isDetached) {}
    virtual ~Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    pthread_t handle = 0;
    const bool detached;
    bool created = false;
};

namespace {

int CreateDetached(pthread_t* handle, void* (*start)(void*), void* argument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const int result = pthread_create(handle, &attributes, start, argument);
    pthread_attr_destroy(&attributes);
    return result;
}

}  // namespace

PThread::PThread(bool detached) : i_impl(new Impl(detached)) {}

PThread::~PThread() {
    if (!i_impl->created || i_impl->detached) {
        return;
    }
    LOG_MESSAGE(WARNING, "pthread (%lu) may still be running...", i_impl->handle);
    const int result = pthread_detach(i_impl->handle);
    if (result != 0) {
        LOG_MESSAGE(ERROR, "pthread detach failed: %d:%s", result, strerror(result));
    }
}

int PThread::create(void* (*start)(void*), void* argument) {
    if (i_impl->created) {
        return -1;
    }
    const int result = i_impl->detached ? CreateDetached(&i_impl->handle, start, argument)
                                        : pthread_create(&i_impl->handle, nullptr, start, argument);
    if (result != 0) {
        LOG_MESSAGE(ERROR, "pthread create failed: %d:%s", result, strerror(result));
    } else {
        i_impl->created = true;
    }
    return result;
}

int PThread::join(void** result) {
    if (i_impl->detached || !i_impl->created) {
        return -1;
    }
    i_impl->created = false;
    const int error = pthread_join(i_impl->handle, result);
    if (error != 0) {
        LOG_MESSAGE(ERROR, "pthread join failed: %d:%s", error, strerror(error));
    }
    return error;
}

bool PThread::isCreated() const {
    return i_impl->created;
}
