#include "cpputils/include/pimpl_impl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <type_traits>

#include "tests/support/child.h"

namespace {

struct Impl {
    virtual ~Impl() = default;
    virtual int which() const { return 0; }
    virtual int which() { return 1; }
};

struct DerivedImpl : public Impl {
    explicit DerivedImpl(int& destroyed) : destroyedCount(destroyed) {}
    ~DerivedImpl() override { ++destroyedCount; }
    int& destroyedCount;
};

static_assert(!std::is_copy_constructible_v<PImplT<Impl>>);
static_assert(!std::is_copy_assignable_v<PImplT<Impl>>);
static_assert(!std::is_move_constructible_v<PImplT<Impl>>);

TEST(PImpl, OwnsItsObjectAndPassesConstnessOn) {
    int destroyed = 0;
    {
        PImplT<Impl> owner(new DerivedImpl(destroyed));
        const PImplT<Impl>& constOwner = owner;
        EXPECT_EQ(owner->which(), 1);
        EXPECT_EQ((*owner).which(), 1);
        EXPECT_EQ(constOwner->which(), 0);
        EXPECT_EQ((*constOwner).which(), 0);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(PImpl, AssertsItsObject) {
    const auto result =
        testsupport::RunInChild([] { const PImplT<Impl> owner(static_cast<Impl*>(nullptr)); });
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_THAT(result.out, testing::HasSubstr("\"Assertion \"i_ptr\" failed.\""));
}

}  // namespace
