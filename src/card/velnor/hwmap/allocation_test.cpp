// Records heap blocks by replacing operator new and delete in the whole test program.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include "src/card/velnor/hwmap/designs_test.h"

namespace {

constexpr std::size_t MAX_EVENTS = 8192;

/** Blocks in the order in which they were allocated or freed, while a test listens. */
bool isListening = false;
std::vector<const void*> allocated;
std::vector<const void*> freed;

/** Without an allocation: up to the capacity. */
void Record(std::vector<const void*>& blocks, void* block) {
    if (isListening && blocks.size() < blocks.capacity()) {
        blocks.push_back(block);
    }
}

}  // namespace

// Not inline: a compiler that sees both reports malloc and free as a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* block = malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    Record(allocated, block);
    return block;
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    if (block != nullptr) {
        Record(freed, block);
    }
    free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    operator delete(block);
}

namespace hwmaptest {

namespace {

/**
 * The blocks of a design's objects in the order of construction, and in the order of teardown: an
 * object's parts before itself, ascending, but the domains in reverse. Nothing is recorded while it
 * collects.
 */
class Blocks : public hwmap::MapVisitor {
  public:
    Blocks() { i_built.reserve(MAX_EVENTS); }

    void group(const char* domain, const char* /*name*/, unsigned int /*instance*/,
               std::uintptr_t /*address*/, const void* object) override {
        isListening = false;
        closeGroup();
        if (i_domains.empty() || domain != i_domain) {
            i_domains.emplace_back();
            i_domain = domain;
        }
        i_group = object;
        i_built.push_back(object);
    }
    void registerWord(const char* /*name*/, unsigned int /*element*/,
                      Register<VolatileAccessor, unsigned int>& object) override {
        member(&object);
    }
    void memory(const char* /*name*/, unsigned int /*element*/,
                Memory<VolatileAccessor, unsigned int>& object) override {
        member(&object);
    }
    void registerField(const char* /*name*/, unsigned int /*element*/,
                       RegisterField<VolatileAccessor, unsigned int>& object) override {
        field(&object);
    }
    void memoryField(const char* /*name*/, unsigned int /*element*/,
                     MemoryField<VolatileAccessor, unsigned int>& object) override {
        field(&object);
    }

    /** After the walk: the order of teardown. */
    void finish() {
        closeGroup();
        for (auto domain = i_domains.rbegin(); domain != i_domains.rend(); ++domain) {
            i_ended.insert(i_ended.end(), domain->begin(), domain->end());
        }
    }

    const std::vector<const void*>& built() const { return i_built; }
    const std::vector<const void*>& ended() const { return i_ended; }

  private:
    void member(const void* object) {
        closeMember();
        i_member = object;
        i_built.push_back(object);
    }
    void field(const void* object) {
        i_domains.back().push_back(object);
        i_built.push_back(object);
    }
    void closeMember() { close(i_member); }
    void closeGroup() {
        closeMember();
        close(i_group);
    }
    void close(const void*& object) {
        if (object != nullptr) {
            i_domains.back().push_back(object);
        }
        object = nullptr;
    }

    std::string i_domain;
    const void* i_group = nullptr;
    const void* i_member = nullptr;
    std::vector<const void*> i_built;
    std::vector<std::vector<const void*>> i_domains;
    std::vector<const void*> i_ended;
};

TEST(Allocation, GivesEachObjectABlockAndFreesAllInOrder) {
    for (const DesignUnderTest& design : DESIGNS) {
        SCOPED_TRACE(design.name);
        Blocks blocks;
        allocated.clear();
        freed.clear();
        allocated.reserve(MAX_EVENTS);
        freed.reserve(MAX_EVENTS);
        isListening = true;
        design.walk(nullptr, blocks, [&blocks] {
            blocks.finish();
            isListening = true;
        });
        isListening = false;
        EXPECT_TRUE(allocated == blocks.built());
        EXPECT_TRUE(freed == blocks.ended());
    }
}

}  // namespace

}  // namespace hwmaptest
