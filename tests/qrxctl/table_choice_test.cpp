// Which tables the words of a command line mean.
#include "qrxctl/table_choice.h"

#include <gmock/gmock.h>

#include "hosting/dispatch.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const std::vector<std::string> kKnown{"tsmdm030", "tsmdm100", "tssoc200", "tssoc205", "tcccp030"};

TEST(TableChoice, TakesNamesPatternsAndGroupsInTheCatalogsOrderAndEachTableOnce) {
    EXPECT_THAT(ChooseTables(kKnown, {"tssoc200", "TSMDM030"}), ElementsAre("tsmdm030", "tssoc200"));
    EXPECT_THAT(ChooseTables(kKnown, {"tssoc*", "tssoc200"}), ElementsAre("tssoc200", "tssoc205"));
    EXPECT_THAT(ChooseTables(kKnown, {"tsmdm?00"}), ElementsAre("tsmdm100"));
    EXPECT_THAT(ChooseTables(kKnown, {"orders", "calendars"}), ElementsAre("tssoc200", "tssoc205", "tcccp030"));
    EXPECT_THAT(ChooseTables(kKnown, {"tsmdm030,tsmdm100"}), ElementsAre("tsmdm030", "tsmdm100"));
}

TEST(TableChoice, RefusesAWordThatNamesNoTableAndGuessesWhatWasMeant) {
    const auto complaint = [](const std::vector<std::string>& words) -> std::string {
        try {
            ChooseTables(kKnown, words);
            return "";
        } catch (const UsageError& error) {
            return error.what();
        }
    };
    EXPECT_THAT(complaint({"tsmdm030", "tssoc299"}), HasSubstr("no table \"tssoc299\""));
    EXPECT_THAT(complaint({"TSSOC299"}), HasSubstr("no table \"TSSOC299\""));
    EXPECT_THAT(complaint({"tsmdm031"}), HasSubstr("did you mean tsmdm030?"));
    EXPECT_THAT(complaint({"TSMDM031"}), HasSubstr("did you mean tsmdm030?"));
    EXPECT_THAT(complaint({"x*"}), HasSubstr("no table \"x*\""));
    EXPECT_THAT(complaint({""}), HasSubstr("no table \"\""));
    EXPECT_EQ(complaint({","}), "no table is named");  // such as of two variables that are not set
}

TEST(TableChoice, KnowsTheGroupOfEveryTable) {
    for (const auto& routine : hosting::Tables())
        EXPECT_THAT(GroupOf(std::string(routine.table)), Not(::testing::IsEmpty())) << routine.table;
}

}  // namespace
}  // namespace iqrx::qrxctl
