#include "companions/registers/velnor_regs/access.h"

#include <gmock/gmock.h>

#include "companions/registers/velnor_regs/failure.h"

namespace regs {

namespace {

struct AccessCase {
    /** Of the word's two fields. */
    hwmap::e_Access accesses[2];
    /** Whether the path goes on to the first of them. */
    bool toField;
    /** What the failures say; "" where there is none. */
    const char* read;
    const char* write;
};

const AccessCase ACCESS_CASES[] = {
    {{hwmap::e_Access_Unstated, hwmap::e_Access_Unstated}, false, "", ""},
    {{hwmap::e_Access_ReadOnly, hwmap::e_Access_Unstated}, false, "", ""},
    {{hwmap::e_Access_ReadOnly, hwmap::e_Access_Unstated}, true, "", "g.R_a is read-only"},
    {{hwmap::e_Access_ReadOnly, hwmap::e_Access_ReadOnly}, false, "", "g.R_a is read-only"},
    {{hwmap::e_Access_WriteOnly, hwmap::e_Access_WriteOnly}, false, "", ""},
    {{hwmap::e_Access_Unstated, hwmap::e_Access_ReadClears},
     true,
     "clears its field f1",
     "clears its field f1"},
    {{hwmap::e_Access_ReadClears, hwmap::e_Access_ReadOnly},
     false,
     "clears its field f0",
     "is read-only"},
};

/** What the check says, or nothing. */
template <class Check>
std::string Said(Check check, const MapLocation& place, bool forced) {
    try {
        check(place, forced);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(Access, RefusesWhatTheTablesSpeakAgainstUnlessForced) {
    for (const AccessCase& c : ACCESS_CASES) {
        SCOPED_TRACE(testing::PrintToString(c.accesses));
        Member member{0, 1, nullptr, nullptr, {}};
        for (const hwmap::e_Access access : c.accesses) {
            const std::string name = "f" + std::to_string(member.fields.size());
            member.fields.push_back({name, {Field{1, 0, nullptr, nullptr}}, {"", access, {}}});
        }
        MapLocation place{"g.R_a", &member, {}, nullptr, nullptr, nullptr, nullptr};
        if (c.toField) {
            place.series = member.fields.data();
            place.field = place.series->elements.data();
        }
        const std::pair<decltype(&CheckRead), std::string> checks[] = {{CheckRead, c.read},
                                                                       {CheckWrite, c.write}};
        for (const auto& [check, text] : checks) {
            const std::string said = Said(check, place, false);
            EXPECT_EQ(said.empty(), text.empty()) << said;
            EXPECT_THAT(said, testing::HasSubstr(text));
            EXPECT_EQ(Said(check, place, true), "");
        }
    }
}

}  // namespace

}  // namespace regs
