#include "companions/simulator/controller/schedule.h"

#include <gtest/gtest.h>

#include <array>

namespace controller {

namespace {

std::string Reprinted(const std::string& text) {
    std::string error;
    const std::optional<Schedule> schedule = ParseSchedule(text, error);
    return schedule ? ScheduleText(*schedule) : error;
}

TEST(Schedule, RoundTrips) {
    for (const char* text :
         {"", "slow=0@begin.0 die@3.1.272 reset@0.1 reset=5@info.12 state10=1@end.4 state7=3@1.1.8",
          "unasked=255@2.5.1 early=9@1.1 body=65535@1.1 result=0@65535.1 id=11942@1.1.3",
          "lead=0x2DC@1.1 length=0xFFFFFFFF@1.1 extra=1@1.1 cut=0@1.1 silence@1.1 late=1@1.1.8",
          "overrun@1.1 stop=9@1.1 norearm rearm=1 dirty=0xABCDE100 appear=59 revise=19526"}) {
        EXPECT_EQ(Reprinted(text), text);
    }
    EXPECT_EQ(Reprinted("  id=0x2EA6@1.1.0\n\tlength=9@1.1 "), "id=11942@1.1 length=0x9@1.1");
}

TEST(Schedule, NamesTheFaultAndItsError) {
    const std::array<const char*, 2> cases[] = {
        {"hum@1.1", "unknown fault \"hum\""},
        {"late@1.1", "needs a value: milliseconds"},
        {"die=1@1.1", "takes no value"},
        {"result=256@1.1", "\"256\" is not valid; give 0 to 255"},
        {"result=-1@1.1", "\"-1\" is not valid; give 0 to 255"},
        {"late=@1.1", "\"\" is not valid; give milliseconds"},
        {"length=0x100000000@1.1", "\"0x100000000\" is not valid; give 0 to 0xFFFFFFFF"},
        {"state10=2@1.1", "\"2\" is not valid; give 1 or 3 to 255"},
        {"state7=2@1.1", "\"2\" is not valid; give 3 to 255"},
        {"early=0@1.1", "\"0\" is not valid; give 1 to 9"},
        {"dirty=0x101", "\"0x101\" is not valid; give a mask whose low byte is 0"},
        {"die", "needs a place, such as @3.1"},
        {"norearm@1.1", "takes no place, since it holds for the whole run"},
        {"silence@begin.1", "applies to the answer to a page; give @PAGE.ATTEMPT"},
        {"die@1.1.273", "at a page, give a byte from 0 to 272"},
        {"die@info.3", "at info, give a byte from 4 to 12"},
        {"die@begin.9", "at begin, give a byte from 0 to 8"},
    };
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(Reprinted(std::string("die@1.1 ") + text + " hum"),
                  text + (": " + std::string(error)));
    }
    for (const char* place :
         {"", "1", "1.0", "1.1.1.1", "65536.1", "begin", "a page.1", "1.x", "1.1."}) {
        std::string error;
        EXPECT_FALSE(ParseSchedule(std::string("die@") + place, error)) << place;
    }
    EXPECT_EQ(Reprinted("appear=1 appear=1"),
              "appear=1: is given twice, but holds for the whole run");
}

TEST(Schedule, IsTheSameForTheSameSeed) {
    EXPECT_EQ(ScheduleText(RandomSchedule(7, 40)), "length=0x7FFFFFF@39.1");
    EXPECT_EQ(ScheduleText(RandomSchedule(8, 40)), "die@0.1.271 slow=3500@0.2.11 body=300@0.3");
    EXPECT_EQ(ScheduleText(RandomSchedule(0xFFFFFFFFFFFFFFFF, 40)),
              "state10=3@begin.1 silence@0.1");
}

TEST(Schedule, IsWellFormedForEverySeed) {
    std::array<unsigned, 4> faults{};
    std::array<unsigned, static_cast<size_t>(FaultKind::Revise) + 1> kinds{};
    for (uint64_t seed = 0; seed < 2000; ++seed) {
        const Schedule schedule = RandomSchedule(seed, static_cast<uint16_t>(seed % 5));
        ++faults.at(schedule.size());
        for (const Fault& fault : schedule) {
            ++kinds.at(static_cast<size_t>(fault.kind));
        }
        ASSERT_EQ(Reprinted(ScheduleText(schedule)), ScheduleText(schedule)) << seed;
    }
    for (const unsigned count : faults) {
        EXPECT_GT(count, 100U);
    }
    for (const unsigned count : kinds) {
        EXPECT_GT(count, 20U);
    }
}

}  // namespace

}  // namespace controller
