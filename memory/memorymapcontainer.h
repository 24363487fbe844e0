#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "thread/pmutex.h"

/**
 * The regions of the card's address space, numbered from 0 in this order: X(name, device path,
 * default size in bytes). A region without a default size needs a size when it is created. Regions
 * whose paths have the same last component share one object.
 */
#define MEMORY_REGIONS(X)                                                           \
    X(Slot0, "/dev/plb0", 0x40)                                                     \
    X(Slot1, "/dev/plb1", 0x4)                                                      \
    X(Slot2, "/dev/plb2", 0x40000)                                                  \
    X(Slot3, "/dev/pci0", 0)                                                        \
    X(Slot4, "/dev/pci1", 0)                                                        \
    X(Slot5, "/dev/pci2", 0)                                                        \
    X(Slot6, "/dev/plb0", 0)                                                        \
    X(Slot7, "/dev/plb1", 0x1000)                                                   \
    X(Slot8, "/dev/pci0", 0x1000000)                                                \
    X(Slot9, "/dev/pci1", 0x1000000)                                                \
    X(Slot10, "/dev/pci2", 0x1000000)                                               \
    X(Slot11, "/dev/pci3", 0x1000000)                                               \
    X(Slot12, "/dev/pci4", 0)                                                       \
    X(Slot13, "/dev/pci5", 0x1000000)                                               \
    X(Slot14, "/dev/pci6", 0)                                                       \
    X(Slot15, "/dev/plb0", 0x1000)                                                  \
    X(Slot16, "/dev/plb1", 0x1000)                                                  \
    X(Slot17, "/dev/pci0", 0)                                                       \
    X(Slot18, "/dev/plb0", 0x1000)                                                  \
    X(Slot19, "/dev/pci0", 0x1000000)                                               \
    X(Slot20, "/dev/plb2", 0x4)                                                     \
    X(Slot21, "/dev/pci1", 0x1000000)                                               \
    X(Slot22, "/dev/pci2", 0x1000000)                                               \
    X(VELNOR_ALTERA, "/sys/bus/pci/devices/0000:01:00.0/resource0", 0x1000000)      \
    X(Slot24, "/dev/plb2", 0x4)                                                     \
    X(VELNOR_ALTERA_DDR0, "/sys/bus/pci/devices/0000:01:00.0/resource1", 0x1000000) \
    X(VELNOR_ALTERA_DDR1, "/sys/bus/pci/devices/0000:01:00.0/resource2", 0x1000000) \
    X(Slot27, "/sys/bus/pci/devices/0002:09:00.0/resource0", 0x1000000)             \
    X(Slot28, "/sys/bus/pci/devices/0002:09:00.0/resource1", 0x1000000)             \
    X(Slot29, "/sys/bus/pci/devices/0002:08:00.0/resource0", 0x1000000)             \
    X(Slot30, "/sys/bus/pci/devices/0002:08:00.0/resource1", 0x1000000)             \
    X(Slot31, "/sys/bus/pci/devices/0002:07:00.0/resource0", 0x1000000)             \
    X(Slot32, "/sys/bus/pci/devices/0002:07:00.0/resource1", 0x1000000)             \
    X(Slot33, "/sys/bus/pci/devices/0002:0a:00.0/resource0", 0x1000000)             \
    X(Slot34, "/sys/bus/pci/devices/0002:0a:00.0/resource1", 0x1000000)             \
    X(Slot35, "/sys/bus/pci/devices/0001:05:00.0/resource0", 0x1000000)             \
    X(Slot36, "/sys/bus/pci/devices/0001:05:00.0/resource1", 0x1000000)             \
    X(Slot37, "/sys/bus/pci/devices/0001:07:00.0/resource0", 0x1000000)             \
    X(Slot38, "/sys/bus/pci/devices/0001:07:00.0/resource1", 0x1000000)             \
    X(Slot39, "/sys/bus/pci/devices/0001:08:00.0/resource0", 0x1000000)             \
    X(Slot40, "/sys/bus/pci/devices/0001:08:00.0/resource1", 0x1000000)             \
    X(Slot41, "/sys/bus/pci/devices/0000:01:00.0/resource0", 0x200000)              \
    X(Slot42, "/sys/bus/pci/devices/0000:01:00.0/resource1", 0x200000)              \
    X(Slot43, "/sys/bus/pci/devices/0000:01:00.0/resource0", 0x400000)              \
    X(Slot44, "/sys/bus/pci/devices/0000:01:00.0/resource1", 0x40000)               \
    X(Slot45, "/sys/bus/pci/devices/0000:01:00.0/resource3", 0x40000)               \
    X(Slot46, "/sys/bus/pci/devices/0000:01:00.0/resource4", 0x40000)               \
    X(Slot47, "/sys/bus/pci/devices/0000:01:00.0/resource5", 0x40000)

enum e_MemoryMapType : int {
#define MEMORY_REGION_ENUMERATOR(name, path, size) e_MemoryMap_##name,
    MEMORY_REGIONS(MEMORY_REGION_ENUMERATOR)
#undef MEMORY_REGION_ENUMERATOR
};

/** How many regions there are. */
constexpr int NUM_MEMORY_MAPS = 0
#define MEMORY_REGION_COUNT(name, path, size) +1
    MEMORY_REGIONS(MEMORY_REGION_COUNT)
#undef MEMORY_REGION_COUNT
    ;

/**
 * One region of a MemoryMapContainer, which alone opens and closes it. It has an address once it is
 * created.
 */
class MemoryMap {
  public:
    MemoryMap() = default;
    virtual ~MemoryMap() = default;
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /** The first byte of the mapping; null for a closed map. */
    void* getAddress() const { return i_address.load(std::memory_order_acquire); }

  private:
    friend class MemoryMapContainer;

    int i_fd = -1;
    // Stored last, with release, and read without the lock: a thread that sees it set also sees the
    // other fields.
    std::atomic<void*> i_address{nullptr};
    size_t i_size = 0;
};

/**
 * Owns the regions, each a part of the card's address space.
 *
 * A region is a POSIX shared-memory object named after the last component of its device path, slash
 * included. Another process that maps the same object sees the same bytes. The container never
 * clears and never removes an object.
 *
 * While the region of the mailbox, e_MemoryMap_VELNOR_ALTERA, is created, this process holds the
 * host's lock on it (memory/hostlock.h). It doesn't if the object can't be locked or if the process
 * closes another descriptor of it.
 *
 * Any thread that may block can create maps; if a time-critical thread tries, the process stops.
 * The pointers handed out stay valid as long as the container exists. Its destructor, which unmaps
 * and closes, must not run at the same time as any other call.
 */
class MemoryMapContainer {
  public:
    MemoryMapContainer();
    virtual ~MemoryMapContainer();
    MemoryMapContainer(const MemoryMapContainer&) = delete;
    MemoryMapContainer& operator=(const MemoryMapContainer&) = delete;

    /**
     * Maps a region with its default size, or with `size` bytes. A region that is already created
     * is returned as it is, and the size is ignored. Null on failure, which is logged; the region
     * stays closed and can be tried again.
     */
    [[nodiscard]] MemoryMap* createMemoryMap(e_MemoryMapType type);
    [[nodiscard]] MemoryMap* createMemoryMap(e_MemoryMapType type, size_t size);

    /** The map if it is created, else null. Takes no lock. */
    [[nodiscard]] MemoryMap* getMemoryMap(e_MemoryMapType type);
    /** The map. If it isn't created, the process stops. Takes no lock. */
    MemoryMap& getMemoryMapReference(e_MemoryMapType type);

  private:
    using Mutex = PMutexT<CriticalThreadCantBlockPolicy>;

    [[nodiscard]] MemoryMap* openMap(e_MemoryMapType type, size_t size) REQUIRES(i_mutex);
    static void closeMap(MemoryMap& map);

    std::array<MemoryMap, NUM_MEMORY_MAPS> i_maps;
    Mutex i_mutex;
};
