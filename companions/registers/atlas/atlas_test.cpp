/** Compares the pages of the atlas with the output of velnor_regs. */
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "companions/registers/export/foldedlines.h"
#include "tests/support/process.h"
#include "tests/support/testdirectory.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testsupport::RunProcess;

namespace {

class VelnorAtlas : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(RunProcess(VELNOR_ATLAS, {ATLAS_PARTS, "pages"}, i_directory.path("")).exitValue,
                  0);
    }

    std::string page(const std::string& name) const {
        return i_directory.read("pages/" + name + ".html");
    }
    json dataOf(const std::string& name) const {
        const std::string text = page(name);
        const std::string mark = "<script type=\"application/json\" id=\"data\">";
        const std::size_t start = text.find(mark) + mark.size();
        return json::parse(text.substr(start, text.find("</script>", start) - start));
    }
    std::string regs(const std::vector<std::string>& arguments) const {
        return RunProcess(VELNOR_REGS, arguments, i_directory.path("")).out;
    }

    testsupport::TestDirectory i_directory;
};

TEST_F(VelnorAtlas, HoldsEveryObjectOfTheDesigns) {
    std::vector<std::string> designs;
    for (const char* name : {"mm_fcfs", "dve", "dve_2_5"}) {
        const json map = dataOf(name);
        const std::string lines = testsupport::FoldedLines(map["groups"]).str();
        for (const json& design : map["designs"]) {
            designs.push_back(design);
            EXPECT_TRUE(lines == regs({"dump", designs.back()})) << designs.back();
        }
        EXPECT_THAT(page(name), Not(HasSubstr("{{")));
        EXPECT_THAT(page(name), Not(HasSubstr("src="))) << "self-contained";
    }
    EXPECT_THAT(designs, testing::ElementsAre("mm_fcfs", "dve", "dve_3g", "dve_2_5", "dve_3g_2_5"));
}

TEST_F(VelnorAtlas, ListsTheDifferencesThatVelnorRegsLists) {
    const json overview = dataOf("index");
    const char* names[] = {"mm_fcfs", "dve", "dve_2_5"};
    for (const auto& [left, right] : {std::pair(0U, 1U), std::pair(0U, 2U), std::pair(1U, 2U)}) {
        json expected = json::array();
        for (const json& row : overview["differences"]) {
            const json& values = row["values"];
            if (values[left] != values[right] && values[left] != "" && values[right] != "") {
                expected.push_back({{"path", row["path"]},
                                    {names[left], values[left]},
                                    {names[right], values[right]}});
            }
        }
        const json answer = json::parse(regs({"diff", names[left], names[right], "--json"}));
        EXPECT_EQ(answer["differences"], expected);
        EXPECT_GT(expected.size(), 40U);
    }
}

}  // namespace
