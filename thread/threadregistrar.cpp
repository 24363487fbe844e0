#include "thread/threadregistrar.h"

#include <unistd.h>

#include <sstream>
#include <tuple>

#include "cpputils/include/stringutils.h"
#include "cpputils/include/thread/policies.h"
#include "logger/logger.h"

namespace {

constexpr ThreadDescriber REGISTRAR_DESCRIBER = {
    IsCurrentThreadCritical,
    [] { return ThreadRegistrar::instance().describeThread(); },
    [](char* buffer, size_t length) {
        ThreadRegistrar::instance().describeThreadNoAlloc(buffer, length);
    },
};

}  // namespace

ThreadId ThreadId::ofCaller() {
    return {pthread_self(), getpid()};
}

bool operator==(const ThreadId& left, const ThreadId& right) {
    return pthread_equal(left.handle, right.handle) != 0 && left.process == right.process;
}

bool operator<(const ThreadId& left, const ThreadId& right) {
    return std::tie(left.process, left.handle) < std::tie(right.process, right.handle);
}

void FieldMainSlot::take(const ThreadId& id, uint32_t cookie) {
    i_handle.store(id.handle, std::memory_order_relaxed);
    i_process.store(id.process, std::memory_order_relaxed);
    i_cookie.store(cookie, std::memory_order_relaxed);
    i_valid.store(true, std::memory_order_release);
}

// Neither locks nor logs: both would ask for this instance, which isn't complete yet.
ThreadRegistrar::ThreadRegistrar()
    : i_namesMutex(PTHREAD_MUTEX_RECURSIVE), i_slotsMutex(PTHREAD_MUTEX_NORMAL) {
    SetThreadDescriber(&REGISTRAR_DESCRIBER);
    fieldMainWasTaken.store(false, std::memory_order_relaxed);
}

ThreadRegistrar::~ThreadRegistrar() {
    SetThreadDescriber(nullptr);
    delete i_names.load();
}

ThreadRegistrar& ThreadRegistrar::instance() {
    static ThreadRegistrar registrar;
    return registrar;
}

int ThreadRegistrar::fieldMainIndex() const {
    for (size_t i = 0; i < i_fieldMain.size(); ++i) {
        if (i_fieldMain[i].hasHandleOfCaller()) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

// Without a lock, because the FieldMain threads are started one after the other.
int ThreadRegistrar::registerFieldMain(uint32_t cookie) {
    for (FieldMainSlot& slot : i_fieldMain) {
        if (!slot.isValid()) {
            fieldMainWasTaken.store(true, std::memory_order_relaxed);
            slot.take(ThreadId::ofCaller(), cookie);
            return 0;
        }
    }
    return -1;
}

uint32_t ThreadRegistrar::fieldMainCookie() const {
    const int index = fieldMainIndex();
    return index == -1 ? 0 : i_fieldMain[static_cast<size_t>(index)].cookie();
}

void ThreadRegistrar::registerName(const std::string& name) {
    const AutoLockT<NamesMutex> lock(i_namesMutex);
    if (names() == nullptr) {
        i_names.store(new Names);
    }
    (*names())[ThreadId::ofCaller()] = name;
}

// Compares the handle first: the process id costs a system call, and each log line needs this.
int ThreadRegistrar::ownSlot() const {
    for (size_t i = 0; i < i_fieldMain.size(); ++i) {
        if (i_fieldMain[i].hasHandleOfCaller() && i_fieldMain[i].holds(ThreadId::ofCaller())) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void ThreadRegistrar::unregisterThread() {
    {
        const AutoLockT<SlotsMutex> lock(i_slotsMutex);
        const int slot = ownSlot();
        if (slot != -1) {
            i_fieldMain[static_cast<size_t>(slot)].free();
            return;
        }
    }
    const AutoLockT<NamesMutex> lock(i_namesMutex);
    if (names() != nullptr) {
        names()->erase(ThreadId::ofCaller());
    }
}

/**
 * A critical thread never takes the lock. A forked child's thread can be critical by its handle
 * although its process is another; it is described without a name.
 */
template <typename Use>
void ThreadRegistrar::withName(Use use) {
    if (isFieldMain() || i_names.load() == nullptr) {
        return;
    }
    const AutoLockT<NamesMutex> lock(i_namesMutex);
    const auto found = names()->find(ThreadId::ofCaller());
    if (found != names()->end()) {
        use(found->second);
    }
}

std::string ThreadRegistrar::describeThread() {
    std::string text;
    const int slot = ownSlot();
    if (slot != -1) {
        text = "FM" + std::to_string(slot) + " ";
    } else {
        withName([&](const std::string& name) { text = name + " "; });
    }
    return text + DescribePlainThread();
}

void ThreadRegistrar::describeThreadNoAlloc(char* buffer, size_t length) {
    if (length == 0) {
        return;
    }
    *buffer = '\0';
    char* end = buffer;
    const int slot = ownSlot();
    if (slot != -1) {
        AppendFormat(&end, &length, "FM%d ", slot);
    } else {
        withName(
            [&](const std::string& name) { AppendFormat(&end, &length, "%s ", name.c_str()); });
    }
    AppendFormat(&end, &length, "p:%lu ", pthread_self());
}

std::string ThreadRegistrar::listThreads() {
    std::ostringstream text;
    const auto start = [&](const ThreadId& id) -> std::ostream& {
        return text << "pid: " << id.process << " threadId: " << id.handle;
    };
    {
        const AutoLockT<SlotsMutex> lock(i_slotsMutex);
        for (size_t i = 0; i < i_fieldMain.size(); ++i) {
            if (i_fieldMain[i].isValid()) {
                start(i_fieldMain[i].id()) << " FieldMain" << i << '\n';
            }
        }
    }
    if (i_names.load() != nullptr) {
        const AutoLockT<NamesMutex> lock(i_namesMutex);
        for (const auto& [id, name] : *names()) {
            start(id) << " Name: " << name << '\n';
        }
    }
    return text.str();
}

int ThreadRegistrar::claimSoleThread() {
    const AutoLockT<SlotsMutex> lock(i_slotsMutex);
    if (i_soleThread.isValid()) {
        return -1;
    }
    i_soleThread.take(ThreadId::ofCaller(), 0);
    return 0;
}

void ThreadRegistrar::releaseSoleThread() {
    const AutoLockT<SlotsMutex> lock(i_slotsMutex);
    if (i_soleThread.holds(ThreadId::ofCaller())) {
        i_soleThread.free();
    }
}
