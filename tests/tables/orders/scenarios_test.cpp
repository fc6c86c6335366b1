// Copies as an administrator sees them: full, then incremental, and what stands in the tables after each.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/conversions.h"
#include "platform/error.h"
#include "records.h"
#include "support/local_process.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

using platform::RuntimeError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Integer kFull = 1, kIncremental = 2;
constexpr Integer kStatuses[] = {5, 10, 15, 20, 23, 25, 35};

std::string OrderOfStatus(Integer status) { return "O" + std::to_string(status); }

class OrderScenarios : public LocalProcess, public ::testing::Test {
protected:
    OrderScenarios() { GivenTable("tssoc200", 127); }

    void CopyOrders(Integer syncMethod) { tables::CopyServiceOrders({run, "tssoc200", "", syncMethod}); }
    std::vector<std::string> LocalOrders() { return Rows("SELECT * FROM tssoc200 ORDER BY orno", {"orno"}); }
    std::vector<std::string> OrderLog() {
        return Rows("SELECT * FROM tssoc200_audit ORDER BY orno", {"orno", "action"});
    }
    // The ERP holds these orders; a fetch by status or key answers those that lie in its range.
    void GivenErpOrders(std::vector<Fields> held) {
        erp.onFetch = [this, held](std::string_view member, std::span<platform::Argument> arguments) {
            erp.records.clear();
            for (const Fields& order : held) {
                const bool byStatus = member == "GetByStatusRange";
                const auto status = platform::ToLong(order.at("getOrderStatus"));
                const auto orno = platform::ToText(order.at("getServiceOrder"));
                if (byStatus ? status >= platform::ToLong(arguments[2].value) &&
                                   status <= platform::ToLong(arguments[3].value)
                             : orno == platform::ToText(arguments[0].value))
                    erp.records.push_back(order);
            }
        };
    }
};

TEST_F(OrderScenarios, AFullCopyHoldsTheStatusesOfTheFilterAndNothingElse) {
    struct Filter {
        Integer flag;
        std::vector<std::string> orders;
    };
    const Filter filters[] = {{127, {"O10", "O15", "O20", "O23", "O25", "O35", "O5"}},
                              {95, {"O10", "O15", "O20", "O23", "O35", "O5"}},
                              {79, {"O10", "O15", "O20", "O35", "O5"}},
                              {32, {"O25"}},
                              {255, {}},
                              {64 + 128 + 1, {"O5"}},
                              {0, {}}};
    std::vector<Fields> held;
    for (const Integer status : kStatuses)
        held.push_back(Order(OrderOfStatus(status), {{"getOrderStatus", status}}));
    GivenErpOrders(held);
    for (const Filter& filter : filters) {
        SCOPED_TRACE("filter flag " + std::to_string(filter.flag));
        Execute("UPDATE tstables SET FilterFlag = " + std::to_string(filter.flag));
        Execute("DELETE FROM tssoc200");
        Execute("INSERT INTO tssoc200(orno,upd_flag) VALUES(N'GONE',0)");
        Execute("INSERT INTO tssoc200(orno,upd_flag) VALUES(N'O25',0)");
        Execute("DELETE FROM tssoc200_audit");
        Execute("INSERT INTO tssoc200_audit(orno,action) VALUES(N'GONE',N'U')");
        run.counters = {};

        CopyOrders(kFull);

        EXPECT_EQ(LocalOrders(), filter.orders);
        EXPECT_THAT(OrderLog(), IsEmpty());
        EXPECT_EQ(run.counters.inserted, static_cast<Long>(filter.orders.size()));
        EXPECT_EQ(run.counters.updated, 0);
        EXPECT_EQ(run.counters.deleted, 0);
        EXPECT_EQ(LastUpdate("tssoc200"), "2026-03-04 05:06:07");
        EXPECT_THAT(Rows("SELECT * FROM tsfullsyncs", {"tablename", "starttime", "finishtime"}),
                    ElementsAre("tssoc200|1900-01-01 00:00:00|1900-01-01 00:00:00"));
    }
}

TEST_F(OrderScenarios, FullThenIncremental) {
    GivenErpOrders({Order("O1"), Order("O'2"), Order("O3")});
    CopyOrders(kFull);
    EXPECT_THAT(LocalOrders(), ElementsAre("O'2", "O1", "O3"));
    EXPECT_THAT(Rows("SELECT * FROM tssoc200 WHERE orno= N'O1'",
                     {"ccfg", "ofbp", "stna", "osta", "ordu", "minu", "ordt", "tstm", "upd_flag"}),
                ElementsAre("CFG1|B1|Brown's|10|1.5|15|2026-02-28 23:30:00|NULL|0"));

    GivenErpOrders({Order("O1"), Order("O3"), Order("O4")});
    erp.trail = {{"U", OrderInTrail("O1", {{"getProject", "P2"s}})},
                 {"D", OrderInTrail("O'2")},
                 {"I", OrderInTrail("O4")}};
    CopyOrders(kIncremental);
    EXPECT_THAT(LocalOrders(), ElementsAre("O1", "O3", "O4"));
    EXPECT_THAT(OrderLog(), ElementsAre("O'2|D", "O1|U", "O4|I"));
    EXPECT_THAT(Rows("SELECT * FROM tssoc200_audit WHERE orno= N'O1'", {"time"}),
                ElementsAre("1900-01-01 00:00:00"));
    EXPECT_THAT(Rows("SELECT * FROM tssoc200 WHERE orno= N'O1'", {"cprj", "stna"}), ElementsAre("P2|Brown's"));

    CopyOrders(kFull);
    EXPECT_THAT(OrderLog(), IsEmpty());
}

TEST_F(OrderScenarios, TwoChangesToOneOrderLeaveTheLastOneInTheChangeLog) {
    GivenErpOrders({Order("O1"), Order("O2")});
    erp.trail = {{"I", OrderInTrail("O1")},
                 {"U", OrderInTrail("O1")},
                 {"I", OrderInTrail("O2")},
                 {"D", OrderInTrail("O2")}};
    CopyOrders(kIncremental);
    EXPECT_THAT(OrderLog(), ElementsAre("O1|U", "O2|D"));
    EXPECT_THAT(LocalOrders(), ElementsAre("O1"));
    EXPECT_EQ(run.counters.inserted, 2);
    EXPECT_EQ(run.counters.updated, 1);
    EXPECT_EQ(run.counters.deleted, 1);
}

TEST_F(OrderScenarios, AnOrderThatIsGoneFromTheErpIsWrittenFromTheTrailWithoutAName) {
    GivenErpOrders({});
    erp.trail = {{"I", OrderInTrail("O1")}};
    CopyOrders(kIncremental);
    EXPECT_THAT(Rows("SELECT * FROM tssoc200", {"orno", "ofbp", "stna"}), ElementsAre("O1|B1|"));
    EXPECT_THAT(OrderLog(), ElementsAre("O1|I"));
}

TEST_F(OrderScenarios, AChangeOfAnUnknownOrderInsertsItButStaysAChangeInTheLog) {
    GivenErpOrders({Order("O1")});
    erp.trail = {{"UI", OrderInTrail("O1")}};
    CopyOrders(kIncremental);
    EXPECT_EQ(run.counters.inserted, 1);
    EXPECT_THAT(OrderLog(), ElementsAre("O1|U"));
}

TEST_F(OrderScenarios, AfterAFailureHalfWayTheNextRunReadsTheSameWindowAndRepairsEverything) {
    GivenErpOrders({Order("O1"), Order("O2"), Order("O3")});
    erp.trail = {{"I", OrderInTrail("O1")},
                 {"I", OrderInTrail("O2")},
                 {"I", OrderInTrail("O3")},
                 {"D", OrderInTrail("O3")}};
    erp.failAt = 3;
    EXPECT_THROW(CopyOrders(kIncremental), RuntimeError);
    EXPECT_EQ(LastUpdate("tssoc200"), "2026-03-01 10:00:00");
    EXPECT_EQ(run.counters.inserted, 2);

    erp.failAt.reset();
    erp.calls.clear();
    CopyOrders(kIncremental);
    EXPECT_THAT(erp.calls, ::testing::Contains("Period.setFrom(2026-03-01 10:00:00)"));
    EXPECT_THAT(LocalOrders(), ElementsAre("O1", "O2"));
    EXPECT_THAT(OrderLog(), ElementsAre("O1|I", "O2|I", "O3|D"));
    EXPECT_EQ(LastUpdate("tssoc200"), "2026-03-04 04:06:07");
}

TEST_F(OrderScenarios, AFullCopyThatFailsHalfWaySweepsNothingAndTheNextOneRepairsEverything) {
    Execute("INSERT INTO tssoc200(orno,upd_flag) VALUES(N'GONE',0)");
    Execute("INSERT INTO tssoc200_audit(orno,action) VALUES(N'GONE',N'U')");
    GivenErpOrders({Order("O1"), Order("O2")});
    erp.failAt = 2;
    EXPECT_THROW(CopyOrders(kFull), RuntimeError);
    EXPECT_THAT(Rows("SELECT * FROM tssoc200 ORDER BY orno", {"orno", "upd_flag"}),
                ElementsAre("GONE|1", "O1|0"));
    EXPECT_THAT(OrderLog(), ElementsAre("GONE|U"));
    EXPECT_THAT(Rows("SELECT * FROM tsfullsyncs", {"finishtime"}), ElementsAre("NULL"));
    EXPECT_EQ(LastUpdate("tssoc200"), "2026-03-01 10:00:00");

    erp.failAt.reset();
    CopyOrders(kFull);
    EXPECT_THAT(LocalOrders(), ElementsAre("O1", "O2"));
    EXPECT_THAT(OrderLog(), IsEmpty());
    EXPECT_THAT(Rows("SELECT * FROM tsfullsyncs", {"finishtime"}), ElementsAre("1900-01-01 00:00:00"));
}

TEST(ActivityScenarios, FullThenIncremental) {
    LocalProcess world;
    world.GivenTable("tssoc210", 127);
    world.Execute("INSERT INTO tssoc210_audit(orno,acln,action) VALUES(N'O1',99,N'U')");
    world.erp.records = {Activity(10), Activity(20)};
    tables::CopyServiceOrderActivities({world.run, "tssoc210", "", kFull});
    EXPECT_THAT(
        world.Rows("SELECT * FROM tssoc210 ORDER BY acln", {"acln", "crac", "dsca", "acdu", "estm"}),
        ElementsAre("10|RA1|Repair|2.75|2026-07-01 11:00:00", "20|RA1|Repair|2.75|2026-07-01 11:00:00"));
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc210_audit", {"acln"}), IsEmpty());

    world.erp.trail = {{"D", Activity(10)},
                       {"U", Activity(20, {{"getReferenceActivity", "RA2"s}, {"getDescription", "Renew"s}})},
                       {"I", Activity(30)},
                       {"D", Activity(40)}};
    tables::CopyServiceOrderActivities({world.run, "tssoc210", "", kIncremental});
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc210 ORDER BY acln", {"acln", "crac", "dsca"}),
                ElementsAre("20|RA1|Renew", "30|RA1|Repair"));
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc210_audit ORDER BY acln", {"orno", "acln", "action"}),
                ElementsAre("O1|10|D", "O1|20|U", "O1|30|I"));
    EXPECT_EQ(world.run.counters.deleted, 2);
}

TEST(AssignmentScenarios, TheChangeLogCarriesTheActivityLineOfTheLastChange) {
    LocalProcess world;
    world.GivenTable("tssoc206", 0);
    world.erp.records = {Assignment("O1", 1, 10, "E1"), Assignment("O1", 2, 20, "E2")};
    tables::CopyAssignments({world.run, "tssoc206", "", kFull});
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc206 ORDER BY asln", {"asln", "acln", "emno", "dltm", "rjtm"}),
                ElementsAre("1|10|E1|2026-03-04 05:00:00|NULL", "2|20|E2|2026-03-04 05:00:00|NULL"));

    world.erp.trail = {{"U", Assignment("O1", 1, 10, "E3")},
                       {"U", Assignment("O1", 1, 11, "E3")},
                       {"D", Assignment("O1", 2, 99, "")},
                       {"I", Assignment("O1", 3, 30, "E1")},
                       {"D", Assignment("O1", 4, 40, "E1")}};
    tables::CopyAssignments({world.run, "tssoc206", "", kIncremental});
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc206 ORDER BY asln", {"asln", "acln", "emno"}),
                ElementsAre("1|11|E3", "3|30|E1"));
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc206_audit ORDER BY asln", {"asln", "acln", "action"}),
                ElementsAre("1|11|U", "2|20|D", "3|30|I"))
        << "a deleted assignment is logged with the activity line of the local row";
    EXPECT_EQ(world.run.counters.updated, 2);
    EXPECT_EQ(world.run.counters.inserted, 1);
    EXPECT_EQ(world.run.counters.deleted, 2);

    tables::CopyAssignments({world.run, "tssoc206", "", kFull});
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc206_audit", {"asln"}), IsEmpty());
}

TEST(OrderLineScenarios, FullThenIncremental) {
    LocalProcess world;
    world.GivenTable("tssoc205", 0);
    world.erp.records = {OrderLine("O1", 1, "E1", 10), OrderLine("O1", 2, "E2", 20)};
    tables::CopyServiceOrderLines({world.run, "tssoc205", "", kFull});
    EXPECT_THAT(world.Rows("SELECT * FROM tsfullsyncs", {"tablename"}), IsEmpty());

    world.erp.trail = {{"U", OrderLine("O1", 1, "E3", 30)},
                       {"D", OrderLine("O1", 2, "", 0)},
                       {"D", OrderLine("O9", 9, "", 0)}};
    tables::CopyServiceOrderLines({world.run, "tssoc205", "", kIncremental});
    EXPECT_THAT(world.Rows("SELECT * FROM tssoc205", {"orno", "line", "emno", "acln"}),
                ElementsAre("O1|1|E3|30"));
    EXPECT_EQ(world.run.counters.deleted, 2);
}

TEST(PlannedActivityScenarios, FullThenIncremental) {
    LocalProcess world;
    world.GivenTable("tsspc200", 0);
    world.erp.records = {PlannedActivity("CFG1", 1), PlannedActivity("CFG1", 2)};
    tables::CopyPlannedActivities({world.run, "tsspc200", "", kFull});
    EXPECT_THAT(
        world.Rows("SELECT * FROM tsspc200 WHERE aseq= 1",
                   {"ccfg", "crac", "aseq", "dsca", "oseq", "adur", "appo", "stat", "orno", "acln", "pfct"}),
        ElementsAre("CFG1|RA1|1|Check|3|2.75|2|4|O1|10|NULL"));
    EXPECT_THAT(world.Rows("SELECT * FROM tsfullsyncs", {"tablename"}), IsEmpty());

    world.erp.trail = {{"U", PlannedActivity("CFG1", 1, {{"getDescription", "Renew"s}})},
                       {"D", PlannedActivity("CFG1", 2)},
                       {"I", PlannedActivity("CFG1", 3)},
                       {"D", PlannedActivity("CFG9", 9)}};
    tables::CopyPlannedActivities({world.run, "tsspc200", "", kIncremental});
    EXPECT_THAT(world.Rows("SELECT * FROM tsspc200 ORDER BY aseq", {"aseq", "dsca"}),
                ElementsAre("1|Renew", "3|Check"));
    EXPECT_EQ(world.run.counters.updated, 1);
    EXPECT_EQ(world.run.counters.inserted, 1);
    EXPECT_EQ(world.run.counters.deleted, 2);
}

}  // namespace
}  // namespace iqrx::testing
