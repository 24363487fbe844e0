#include "cpputils/include/clock.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

constexpr uint32_t RATE = 666;
const Clock& theClock = Clock::instance();

void ExpectTime(const timeval& time, long seconds, long microseconds) {
    EXPECT_EQ(time.tv_sec, seconds);
    EXPECT_EQ(time.tv_usec, microseconds);
}

/** For values that fit both widths. */
template <typename Count>
void ExpectConversions() {
    EXPECT_EQ(theClock.ticksToMicroseconds(Count{665}), Count{0});
    EXPECT_EQ(theClock.ticksToMicroseconds(Count{666}), Count{1});
    EXPECT_EQ(theClock.ticksToMicroseconds(Count{1331}), Count{1});
    EXPECT_EQ(theClock.microsecondsToTicks(Count{3}), Count{1998});
    timeval time = {7, 7};
    EXPECT_EQ(&theClock.ticksToTimeval(Count{666000000}, time), &time);
    ExpectTime(time, 1, 0);
    ExpectTime(theClock.ticksToTimeval(Count{666000000 + 665 * 5}, time), 1, 4);
    static_assert(std::is_same_v<decltype(theClock.ticksToMicroseconds(Count{1})), Count>);
    static_assert(std::is_same_v<decltype(theClock.microsecondsToTicks(Count{1})), Count>);
}

/** Computed before any test: once the process has a rate, it can't be removed. */
const uint64_t WITHOUT_A_RATE[] = {
    theClock.ticksToMicroseconds(uint32_t{1000}),
    theClock.ticksToMicroseconds(uint64_t{1000}),
    theClock.timevalToTicks64({10, 0}),
};

TEST(Clock, ConvertsInBothWidths) {
    for (const uint64_t result : WITHOUT_A_RATE) {
        EXPECT_EQ(result, 0U);
    }
    Clock::instance().setRate(1);
    EXPECT_EQ(theClock.ticksToMicroseconds(uint32_t{7}), 7U);
    Clock::instance().setRate(RATE);
    Clock::instance().setRate(0);
    ExpectConversions<uint32_t>();
    ExpectConversions<uint64_t>();
}

TEST(Clock, WrapsIn32BitsOnly) {
    Clock::instance().setRate(RATE);
    EXPECT_EQ(theClock.microsecondsToTicks(uint32_t{10000000}), 2365032704U);
    EXPECT_EQ(theClock.microsecondsToTicks(uint64_t{10000000}), 6660000000U);
    EXPECT_EQ(theClock.timevalToTicks({10, 0}), 2365032704U);
    EXPECT_EQ(theClock.timevalToTicks64({10, 0}), 6660000000U);
    EXPECT_EQ(theClock.ticksToMicroseconds(uint64_t{6660000000}), 10000000U);
    timeval time = {};
    ExpectTime(theClock.ticksToTimeval(uint64_t{6660000666}, time), 10, 1);
    // Past 32 bits of seconds, and before the epoch.
    EXPECT_EQ(theClock.timevalToTicks64({0x100000001, 5}), (0x100000001 * 1000000 + 5) * 666U);
    EXPECT_EQ(theClock.timevalToTicks({0x100000001, 5}), 666003330U);
    EXPECT_EQ(theClock.timevalToTicks64({-1, 999999}), uint64_t{0} - RATE);
    EXPECT_EQ(theClock.timevalToTicks({-1, 999999}), uint32_t{0} - RATE);
}

TEST(Clock, ReadsTheTimeOfDay) {
    timeval before = {};
    timeval now = {};
    timeval after = {};
    gettimeofday(&before, nullptr);
    theClock.getTimeOfDay(&now);
    const time_t seconds = theClock.secondsNow();
    gettimeofday(&after, nullptr);
    EXPECT_FALSE(timercmp(&now, &before, <));
    EXPECT_FALSE(timercmp(&after, &now, <));
    EXPECT_GE(seconds, before.tv_sec);
    EXPECT_LE(seconds, after.tv_sec);
    theClock.getTimeOfDay(nullptr);
}

}  // namespace
