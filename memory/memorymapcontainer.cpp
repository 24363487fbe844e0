#include "memory/memorymapcontainer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "logger/assertion.h"
#include "logger/logger.h"
#include "memory/hostlock.h"
#include "memory/sharedmemory.h"

namespace {

struct RegionRow {
    const char* path;
    size_t defaultSize;
};

constexpr RegionRow REGIONS[] = {
#define MEMORY_REGION_ROW(name, path, size) {path, size},
    MEMORY_REGIONS(MEMORY_REGION_ROW)
#undef MEMORY_REGION_ROW
};
static_assert(std::size(REGIONS) == NUM_MEMORY_MAPS);

bool IsRegion(e_MemoryMapType type) {
    return type >= 0 && type < NUM_MEMORY_MAPS;
}

/** "/sys/.../resource0" gives "/resource0". A path without a slash is its own name. */
std::string ObjectName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash);
}

}  // namespace

MemoryMapContainer::MemoryMapContainer() : i_mutex(PTHREAD_MUTEX_NORMAL) {}

MemoryMapContainer::~MemoryMapContainer() {
    for (MemoryMap& map : i_maps) {
        closeMap(map);
    }
}

void MemoryMapContainer::closeMap(MemoryMap& map) {
    if (void* address = map.getAddress()) {
        munmap(address, map.i_size);
        map.i_address = nullptr;
        map.i_size = 0;
    }
    if (map.i_fd != -1) {
        close(map.i_fd);
        map.i_fd = -1;
    }
}

MemoryMap* MemoryMapContainer::createMemoryMap(e_MemoryMapType type) {
    ASSERT_BLOCKABLE_THREAD();
    if (!IsRegion(type)) {
        LOG_MESSAGE(CRITICAL, "%s: Invalid memoryMap: %d", "createMemoryMap", type);
        return nullptr;
    }
    return createMemoryMap(type, REGIONS[type].defaultSize);
}

MemoryMap* MemoryMapContainer::createMemoryMap(e_MemoryMapType type, size_t size) {
    ASSERT_BLOCKABLE_THREAD();
    if (!IsRegion(type)) {
        LOG_MESSAGE(CRITICAL, "Invalid memoryMap: %d", type);
        return nullptr;
    }
    MemoryMap& map = i_maps[static_cast<size_t>(type)];
    if (map.getAddress() != nullptr) {
        return &map;
    }
    const AutoLockT<Mutex> lock(i_mutex);
    // Another thread may have created it while this one waited for the lock.
    return map.getAddress() != nullptr ? &map : openMap(type, size);
}

MemoryMap* MemoryMapContainer::openMap(e_MemoryMapType type, size_t size) {
    if (size == 0) {
        LOG_MESSAGE(CRITICAL, "cannot create memory map (%d) without specific size", type);
        return nullptr;
    }
    const char* path = REGIONS[type].path;
    MemoryMap& map = i_maps[static_cast<size_t>(type)];
    map.i_fd = SharedMemory(ObjectName(path), size).createFd();
    if (map.i_fd == -1) {
        LOG_MESSAGE(CRITICAL, "open failed %s (%s)", path, strerror(errno));
        return nullptr;
    }
    if (type == e_MemoryMap_VELNOR_ALTERA) {
        LockAsHost(map.i_fd);
    }
    map.i_size = size;
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, map.i_fd, 0);
    if (address == MAP_FAILED) {
        LOG_MESSAGE(CRITICAL, "mmap failed %s (%s)", path, strerror(errno));
        close(map.i_fd);
        map.i_size = 0;
        map.i_fd = -1;
        return nullptr;
    }
    map.i_address.store(address, std::memory_order_release);
    return &map;
}

MemoryMap* MemoryMapContainer::getMemoryMap(e_MemoryMapType type) {
    if (!IsRegion(type)) {
        LOG_MESSAGE(CRITICAL, "Invalid memoryMap: %d", type);
        return nullptr;
    }
    MemoryMap& map = i_maps[static_cast<size_t>(type)];
    return map.getAddress() != nullptr ? &map : nullptr;
}

MemoryMap& MemoryMapContainer::getMemoryMapReference(e_MemoryMapType type) {
    if (!IsRegion(type) || i_maps[static_cast<size_t>(type)].getAddress() == nullptr) {
        ASSERT_MESSAGE("Invalid memoryMap");
    }
    return i_maps[static_cast<size_t>(type)];
}
