#include "hosting/dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;

TEST(DispatchList, NamesEveryTableInItsFixedOrder) {
    std::vector<std::string> names;
    for (const control::TableRoutine& routine : hosting::Tables()) names.emplace_back(routine.table);
    EXPECT_THAT(
        names, ElementsAre("tsmdm000", "tsmdm030", "tsmdm100", "tsmdm105", "tsmdm130", "tsmdm135", "tsmdm140",
                           "tscfg220", "tscfg200", "tssoc200", "tssoc205", "tssoc206", "tssoc210", "tsspc200",
                           "tsclm020", "tsclm024", "tcccp001", "tccom130", "tcccp030"));
}

TEST(DispatchList, LeadsEachTableToTheRoutineThatAsksTheErpForIt) {
    for (const control::TableRoutine& routine : hosting::Tables()) {
        const std::string table(routine.table);
        if (table == "tcccp030") continue;  // comes from the calendar service, which has no tables
        TestProcess process;
        process.OpenDatabase();
        routine.copy({process.run, table, "run parameter", control::kIncremental});
        ASSERT_FALSE(process.erp.calls.empty()) << table;
        EXPECT_EQ(process.erp.calls.front(), "create manager " + table);
    }
}

}  // namespace
}  // namespace iqrx::testing
