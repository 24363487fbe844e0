#include "include/hwaccess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "tests/support/child.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace {

using Word = unsigned int;

/** Simulates the hardware: words by address, and a log of all accesses. */
class RecordingAccessor {
  public:
    Word read(const Word* address) {
        i_log.push_back("read " + text(address));
        return i_words[address];
    }
    void write(Word* address, Word value) {
        i_log.push_back("write " + text(address));
        i_words[address] = value;
    }
    Word& at(std::uintptr_t address) {
        return i_words[reinterpret_cast<Word*>(address)];  // NOLINT(performance-no-int-to-ptr)
    }
    const std::vector<std::string>& log() const { return i_log; }

  private:
    static std::string text(const Word* address) {
        return std::to_string(reinterpret_cast<std::uintptr_t>(address));
    }
    std::map<const Word*, Word> i_words;
    std::vector<std::string> i_log;
};

using TestRegister = Register<RecordingAccessor, Word>;
using TestRegisterField = RegisterField<RecordingAccessor, Word>;
using TestMemory = Memory<RecordingAccessor, Word>;
using TestMemoryField = SingleMemoryField<RecordingAccessor, Word>;

struct FieldCase {
    Word mask;
    unsigned int shift;
    Word before;
    Word got;
    Word set;
    Word after;
};

const FieldCase FIELD_CASES[] = {
    {0xffffffff, 0, 0x89abcdef, 0x89abcdef, 0x12345678, 0x12345678},
    {0x1ff, 0, 0xffffffff, 0x1ff, 0xab, 0xfffffeab},
    {0x1ff, 0, 0x12345600, 0, 0xffffffff, 0x123457ff},
    {0x3ff, 22, 0xc0000001, 0x300, 0x1401, 0x00400001},
    {1, 31, 0x7fffffff, 0, 3, 0xffffffff},
    {0xff, 8, 0x00005500, 0x55, 0x55, 0x00005500},
};

// Always one load, then one store, even for an unchanged value and for the full mask.
TEST(HardwareAccess, FieldsReadThenWriteOneWord) {
    for (const FieldCase& c : FIELD_CASES) {
        SCOPED_TRACE(testing::Message() << std::hex << c.mask << " << " << c.shift);
        RecordingAccessor accessor;
        TestMemory memory(accessor, 400, 4);
        TestMemoryField inMemory(&memory, c.mask, c.shift);
        TestRegister word(accessor, 408);
        TestRegisterField inRegister(&word, c.mask, c.shift);
        accessor.at(408) = c.before;
        EXPECT_EQ(inMemory.get(2), c.got);
        EXPECT_EQ(inRegister.get(), c.got);
        inMemory.set(2, c.set);
        EXPECT_EQ(accessor.at(408), c.after);
        accessor.at(408) = c.before;
        inRegister.set(c.set);
        EXPECT_EQ(accessor.at(408), c.after);
        EXPECT_THAT(accessor.log(), ElementsAre("read 408", "read 408", "read 408", "write 408",
                                                "read 408", "write 408"));
    }
}

TEST(HardwareAccess, CachesNothingAndTakesOneAccessForAWord) {
    RecordingAccessor accessor;
    TestRegister word(accessor, 400);
    TestMemory memory(accessor, 800, 4);
    word.set(0x89abcdef);
    memory.setraw(3, 7);
    EXPECT_EQ(word.get(), 0x89abcdefU);
    EXPECT_EQ(memory.getraw(3), 7U);
    EXPECT_THAT(accessor.log(), ElementsAre("write 400", "write 812", "read 400", "read 812"));
    accessor.at(812) = 0x98;  // by the other side
    EXPECT_EQ(TestMemoryField(&memory, 0xf, 4).get(3), 9U);
}

// Each body addresses a word past the end of a memory of four words, and must not access it.
TEST(Memory, StopsBeforeAnAccessPastItsEnd) {
    void (*const bodies[])(TestMemory&) = {
        [](TestMemory& memory) { memory.getraw(4); },
        [](TestMemory& memory) { memory.setraw(4, 0); },
        [](TestMemory& memory) { memory.getraw(std::size_t{1} << 32U); },
        [](TestMemory& memory) { TestMemoryField(&memory, 1, 0).get(4); },
        [](TestMemory& memory) { TestMemoryField(&memory, 1, 0).set(SIZE_MAX, 0); },
    };
    for (const auto& body : bodies) {
        const ChildResult result = RunInChild([&body] {
            static RecordingAccessor accessor;
            TestMemory memory(accessor, 400, 4);
            (void)std::signal(SIGABRT, [](int) {
                printf("accesses: %zu\n", accessor.log().size());
                (void)fflush(stdout);
            });
            body(memory);
        });
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_THAT(result.out, HasSubstr("\"Assertion \"offset < i_size\" failed.\" at "
                                          "include/hwaccess.h:"));
        EXPECT_THAT(result.out, HasSubstr("accesses: 0\n"));
        EXPECT_THAT(result.err, HasSubstr("Assertion `offset < i_size' failed"));
    }
}

TEST(VolatileAccessor, LeavesTheNeighboursAlone) {
    std::array<Word, 4> words = {1, 0xffffffff, 3, 4};
    VolatileAccessor accessor;
    Memory<VolatileAccessor, Word> memory(accessor, words.data(), words.size());
    SingleMemoryField<VolatileAccessor, Word> field(&memory, 0x1ff, 0);
    field.set(1, 0xff);
    memory.setraw(3, 0xa5a5a5a5);
    EXPECT_THAT(words, ElementsAre(1, 0xfffffeff, 3, 0xa5a5a5a5));
    EXPECT_EQ(field.get(1), 0xffU);
    EXPECT_EQ(memory.getraw(3), 0xa5a5a5a5U);
}

/** A word that records how it is accessed. */
struct RecordingWord {
    RecordingWord() = default;
    RecordingWord(const RecordingWord& /*other*/) { accesses += "load "; }
    RecordingWord(const volatile RecordingWord& /*other*/) { accesses += "volatile load "; }
    void operator=(const RecordingWord& /*other*/) { accesses += "store "; }
    void operator=(const RecordingWord& /*other*/) volatile { accesses += "volatile store "; }

    static std::string accesses;
};

std::string RecordingWord::accesses;

// The compiler may merge or drop any access that is not volatile.
TEST(VolatileAccessor, MakesEachAccessVolatile) {
    const VolatileAccessor accessor;
    RecordingWord word;
    const RecordingWord value;
    (void)accessor.read(&word);
    EXPECT_EQ(RecordingWord::accesses, "volatile load ");
    RecordingWord::accesses.clear();
    accessor.write(&word, value);
    EXPECT_EQ(RecordingWord::accesses, "load volatile store ");

    volatile Word number = 0;
    accessor.write(&number, 5);
    Register<VolatileAccessor, Word>(const_cast<VolatileAccessor&>(accessor), &number).set(6);
    EXPECT_EQ(accessor.read(&number), 6U);
}

// The addresses are not mapped: an access would end the test.
TEST(HardwareAccess, ConstructionTouchesNothing) {
    VolatileAccessor accessor;
    const Register<VolatileAccessor, Word> word(accessor, 0x6400000);
    const Memory<VolatileAccessor, Word> memory(accessor, 0x6400080, 49283072);
    EXPECT_EQ(word.absoluteAddress(), 0x6400000U);
    EXPECT_EQ(memory.absoluteAddress(), 0x6400080U);
    EXPECT_EQ(memory.sizeInWords(), 49283072U);
}

// A pointer to the table of virtual functions, and the members.
static_assert(sizeof(Register<VolatileAccessor, Word>) == 4 * sizeof(void*));
static_assert(sizeof(Memory<VolatileAccessor, Word>) == 4 * sizeof(void*));
static_assert(sizeof(RegisterField<VolatileAccessor, Word>) == 3 * sizeof(void*));
static_assert(sizeof(SingleMemoryField<VolatileAccessor, Word>) == 3 * sizeof(void*));

}  // namespace
