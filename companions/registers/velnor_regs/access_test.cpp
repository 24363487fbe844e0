#include "companions/registers/velnor_regs/access.h"

#include <gmock/gmock.h>

#include "companions/registers/velnor_regs/failure.h"

namespace regs {

namespace {

constexpr auto NONE = hwmap::e_Access_Unstated;
constexpr auto RO = hwmap::e_Access_ReadOnly;
constexpr auto WO = hwmap::e_Access_WriteOnly;
constexpr auto RC = hwmap::e_Access_ReadClears;

const struct {
    /** Of the word's two fields. */
    hwmap::e_Access first, second;
    /** Whether the path ends at the first of them. */
    bool toField;
    /** Parts of the failures; "" for none. */
    const char *read, *write;
} CASES[] = {
    {NONE, NONE, false, "", ""},
    {RO, NONE, false, "", ""},
    {RO, NONE, true, "", "g.R_a is read-only"},
    {RO, RO, false, "", "g.R_a is read-only"},
    {WO, WO, false, "", ""},
    {NONE, RC, true, "clears its field f1", "clears its field f1"},
    {RC, RO, false, "clears its field f0", "is read-only"},
};

/** The text of the failure, or "". */
template <class Check>
std::string Said(Check check, const MapLocation& place, bool forced) {
    try {
        check(place, forced);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(Access, RefusesForbiddenAccessesUnlessForced) {
    for (const auto& c : CASES) {
        SCOPED_TRACE(testing::Message() << c.first << c.second << c.toField);
        Member member{0, 1, nullptr, nullptr, {}};
        for (const hwmap::e_Access access : {c.first, c.second}) {
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
