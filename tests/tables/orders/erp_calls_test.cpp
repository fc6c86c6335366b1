// What the tables ask the ERP.

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

#include "records.h"
#include "support/table_case.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;

const std::string kOrderRange = "'orno' '' '~~~~~~~~~'";
const std::string kFetchOfOrders = "GetByKeyRange('', '~~~~~~~~~')";

const TableCase kOrders{
    .table = "tssoc200",
    .copy = tables::CopyServiceOrders,
    .parameters = {kOrderRange},
    .outputFields = {"ofbp", "ccfg", "cprj", "ordt", "osta", "cwoc", "csar", "emno", "blyn", "emer",
                     "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                     "rsrp", "ract", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "lcad"},
};
const TableCase kActivities{
    .table = "tssoc210",
    .copy = tables::CopyServiceOrderActivities,
    .parameters = {kOrderRange, "'acln' '0000' '9999'"},
    .outputFields = {"acln", "asta", "desc", "crac", "cstp", "cagr", "ccfg", "crob", "oseq",
                     "ccll", "crtc", "prpr", "cupr", "obpr", "cprl", "cstn", "skla", "sklb",
                     "sklc", "acdu", "appo", "pstm", "pftm", "estm", "lftm", "astm", "aftm"},
};
const TableCase kOrderLines{
    .table = "tssoc205",
    .copy = tables::CopyServiceOrderLines,
    .parameters = {kOrderRange, "'line' '0000' '9999'"},
    .outputFields = {"emno", "acln"},
    .fetch = kFetchOfOrders,
};
const TableCase kAssignments{
    .table = "tssoc206",
    .copy = tables::CopyAssignments,
    .parameters = {kOrderRange, "'asln' '0000' '9999'"},
    .outputFields = {"acln", "emno", "dltm", "actm", "rjtm", "pstm", "pftm", "astm", "aftm", "jctm", "ltct"},
    .fetch = kFetchOfOrders,
};
const TableCase kPlannedActivities{
    .table = "tsspc200",
    .copy = tables::CopyPlannedActivities,
    .parameters = {"'ccfg' '' '~~~~~~~~'", "'crac' '' '~~~~~~~~'", "'aseq' '0000' '9999'"},
    .outputFields = {"ccfg", "crac", "aseq", "desc", "cagr", "cstp", "cwoc", "crob", "oseq", "esct", "psct",
                     "pfct", "lfct", "adur", "trtm", "skla", "sklb", "sklc", "orno", "acln", "stat", "appo"},
    .fetch = "GetByKeyRange('', '~~~~~~~~', '', '~~~~~~~~')",
};

class AuditTrail : public ::testing::TestWithParam<TableCase> {};
TEST_P(AuditTrail, IsAskedForInThisOrder) { ExpectIncrementalCopysCalls(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Orders, AuditTrail,
                         ::testing::Values(kOrders, kActivities, kOrderLines, kAssignments, kPlannedActivities),
                         TableTestName);

class FullCopyByKey : public ::testing::TestWithParam<TableCase> {};
TEST_P(FullCopyByKey, FetchesEveryRecordAtOnce) { ExpectFullCopysCalls(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Orders, FullCopyByKey,
                         ::testing::Values(kOrderLines, kAssignments, kPlannedActivities), TableTestName);

class FullCopyByStatus : public TestProcess, public ::testing::TestWithParam<TableCase> {
protected:
    // The manager's calls in a full copy with that filter flag.
    std::vector<std::string> ManagerCalls(Integer filterFlag) {
        OpenDatabase();
        database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'" + GetParam().table + "'",
                            Rows{{"FilterFlag"}, {{filterFlag}}});
        erp.calls.clear();
        GetParam().copy({run, GetParam().table, "run parameter", 1});
        std::vector<std::string> calls;
        std::ranges::copy_if(erp.calls, std::back_inserter(calls),
                             [](const std::string& call) { return call.starts_with("manager."); });
        return calls;
    }
};

TEST_P(FullCopyByStatus, FetchesEachRunOfStatuses) {
    EXPECT_THAT(ManagerCalls(95),
                ElementsAre("manager.SetRunParameter('run parameter')",
                            "manager.GetByStatusRange('', '~~~~~~~~~', 5, 23)",
                            "manager.GetByStatusRange('', '~~~~~~~~~', 35, 35)", "manager.CloseManager()"));
}

TEST_P(FullCopyByStatus, FetchesNothingForAnEmptyFilter) {
    EXPECT_THAT(ManagerCalls(0),
                ElementsAre("manager.SetRunParameter('run parameter')", "manager.CloseManager()"));
}

TEST_P(FullCopyByStatus, EndsWhereARangeHasNoEnumerator) {
    int fetches = 0;
    erp.onFetch = [&](auto, auto) { erp.hasEnumerator = ++fetches == 1; };
    ManagerCalls(95);
    EXPECT_EQ(fetches, 2) << "the two ranges of the flag";
    EXPECT_EQ(erp.calls.back(), "manager.CloseManager()");
    for (const char* end : {"DELETE FROM", "UPDATE tstables", "SET finishtime ="})
        EXPECT_THAT(database.executed, ::testing::Not(::testing::Contains(::testing::HasSubstr(end)))) << end;
    EXPECT_EQ(RunLog(), "");
}

TEST_P(FullCopyByStatus, TakesTheStartMomentBeforeItMarks) {
    OpenDatabase();
    database.WhenExecuted("UPDATE " + GetParam().table + " SET upd_flag = 1 ", [this] {
        clock.now = At("2026-03-04 06:00:00");
        return 0;
    });
    GetParam().copy({run, GetParam().table, "", 1});
    EXPECT_THAT(database.executed,
                ::testing::Contains("UPDATE tstables SET lutm  = CONVERT(DATETIME,'2026-03-04 05:06:07',120) "
                                    "WHERE tablename = N'" +
                                    GetParam().table + "'"));
}

INSTANTIATE_TEST_SUITE_P(Orders, FullCopyByStatus, ::testing::Values(kOrders, kActivities), TableTestName);

TEST(FullCopyOfAssignments, TouchesNothingWhenTheErpAnswersNoEnumerator) {
    TestProcess process;
    process.OpenDatabase();
    process.erp.hasEnumerator = false;
    tables::CopyAssignments({process.run, "tssoc206", "", 1});
    EXPECT_TRUE(process.database.executed.empty());
    EXPECT_EQ(process.erp.calls.back(), "manager.CloseManager()");
}

TEST(IncrementalCopyOfOrders, FetchesWithTheManagerThatReadsTheTrail) {
    TestProcess process;
    process.OpenDatabase();
    process.erp.trail = {{"I", OrderInTrail("O1")}};
    process.erp.records = {Order("O1")};
    tables::CopyServiceOrders({process.run, "tssoc200", "", 2});
    EXPECT_EQ(std::ranges::count(process.erp.calls, "create manager tssoc200"), 1);
    EXPECT_EQ(std::ranges::count(process.erp.calls, "manager.GetByKeyRange('O1', 'O1')"), 1);
}

TEST(IncrementalCopyOfPlannedActivities, AsksADeletedElementForItsKeyAlone) {
    TestProcess process;
    process.OpenDatabase();
    process.erp.trail = {
        {"D", {{"getConfiguration", "C1"s}, {"getActivity", "RA1"s}, {"getActivityNumber", Long{1}}}}};
    tables::CopyPlannedActivities({process.run, "tsspc200", "", 2});
    EXPECT_EQ(process.run.counters.deleted, 1);
}

class Method : public ::testing::TestWithParam<TableCase> {};
TEST_P(Method, OtherThanFullAndIncrementalDoesNothing) {
    TestProcess process;
    process.OpenDatabase();
    for (const Integer syncMethod : {Integer{0}, Integer{3}})
        GetParam().copy({process.run, GetParam().table, "", syncMethod});
    EXPECT_TRUE(process.erp.calls.empty());
    EXPECT_TRUE(process.database.calls.empty());
}
INSTANTIATE_TEST_SUITE_P(Orders, Method,
                         ::testing::Values(kOrders, kActivities, kOrderLines, kAssignments, kPlannedActivities),
                         TableTestName);

}  // namespace
}  // namespace iqrx::testing
