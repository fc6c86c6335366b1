// What the tables send to the server, against the files of tests/golden.

#include <gtest/gtest.h>

#include "platform/conversions.h"
#include "records.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

// Every row is known locally, but an update that begins with one of these texts finds none.
constexpr const char* kUpdatesOfNewRows[] = {
    "UPDATE tssoc200 SET ccfg=N'NEW'", "UPDATE tssoc210 SET dsca=N'New'", "UPDATE tssoc205 SET emno = N'NEW'",
    "UPDATE tssoc206 SET acln  = 99",  "UPDATE tsspc200 SET ccfg=N'NEW'",
};

class OrderStatements : public TestProcess, public ::testing::TestWithParam<std::pair<Integer, const char*>> {
protected:
    OrderStatements() {
        OpenDatabase(GetParam().first);
        database.defaultAffected = 1;
        for (const char* update : kUpdatesOfNewRows) database.WhenExecutedBeginning(update, 0);
    }

    void FilterFlag(const std::string& table, Integer flag) {
        database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'" + table + "'",
                            Rows{{"lutm", "FilterFlag"}, {{Null(), flag}}});
    }
    void LocalOrder(const std::string& orno, const std::string& ofbp) {
        database.WhenOpened("SELECT * FROM tssoc200 WHERE orno= N'" + orno + "'", Rows{{"ofbp"}, {{ofbp}}});
    }
    void LocalActivity(const std::string& acln) {
        database.WhenOpened("SELECT * FROM tssoc210 WHERE orno= N'O1' AND   acln= " + acln,
                            Rows{{"acln"}, {{Long{1}}}});
    }
    // The ERP answers the fetches of status ranges one after the other.
    void Fetches(std::vector<std::vector<Fields>> answers) {
        erp.onFetch = [this, answers, next = std::size_t{0}](auto, auto) mutable {
            erp.records = answers.at(next++);
        };
    }
    void ExpectStatements(const std::string& tableAndMode) {
        ExpectGolden(database, tableAndMode + "." + GetParam().second + ".txt");
    }
};

TEST_P(OrderStatements, OfAFullCopyOfOrders) {
    FilterFlag("tssoc200", 95);
    Fetches({{Order("O'1")}, {Order("O2", {{"getConfiguration", "NEW"s}, {"getOrderStatus", Integer{35}}})}});
    tables::CopyServiceOrders({run, "tssoc200", "", 1});
    ExpectStatements("tssoc200.full");
}

TEST_P(OrderStatements, OfAnIncrementalCopyOfOrders) {
    FilterFlag("tssoc200", 79);
    for (const char* known : {"O2", "O3", "O5"}) LocalOrder(known, "B1");
    database.WhenExecuted("DELETE FROM tssoc200  WHERE orno= N'O8'", 0);
    erp.onFetch = [this](auto, std::span<platform::Argument> key) {
        const std::string orno = platform::ToText(key.front().value);
        erp.records.clear();
        if (orno == "O3")
            erp.records = {Order(
                orno, {{"getSoldToBusinessPartner", "B2"s}, {"getSoldToBusinessPartnerName", "Green"s}})};
        if (orno == "O4")
            erp.records = {
                Order(orno, {{"getConfiguration", "NEW"s}, {"getSoldToBusinessPartnerName", "Black"s}})};
    };
    erp.trail = {{"D", OrderInTrail("O1")},
                 {"U", OrderInTrail("O2")},
                 {"U", OrderInTrail("O3", {{"getSoldToBusinessPartner", "B2"s}})},
                 {"I", OrderInTrail("O4", {{"getConfiguration", "NEW"s}})},
                 {"U", OrderInTrail("O5", {{"getOrderStatus", Integer{25}}})},
                 {"U", OrderInTrail("O6", {{"getOrderStatus", Integer{23}}})},
                 {"", OrderInTrail("O7")},
                 {"D", OrderInTrail("O8")},
                 {"I", OrderInTrail("O9", {{"getConfiguration", "NEW"s}})}};
    tables::CopyServiceOrders({run, "tssoc200", "", 2});
    ExpectStatements("tssoc200.incremental");
    EXPECT_EQ(run.counters.inserted, 2);
    EXPECT_EQ(run.counters.updated, 2);
    EXPECT_EQ(run.counters.deleted, 3);
}

TEST_P(OrderStatements, OfAFullCopyOfActivities) {
    FilterFlag("tssoc210", 79);
    Fetches({{Activity(10)}, {Activity(20, {{"getDescription", "New"s}, {"getActivityStatus", Integer{35}}})}});
    tables::CopyServiceOrderActivities({run, "tssoc210", "", 1});
    ExpectStatements("tssoc210.full");
}

TEST_P(OrderStatements, OfAnIncrementalCopyOfActivities) {
    FilterFlag("tssoc210", 79);
    for (const char* known : {"20", "40"}) LocalActivity(known);
    database.WhenExecuted("DELETE FROM tssoc210  WHERE orno= N'O1' AND   acln= -60", 0);
    erp.trail = {{"D", Activity(10)},
                 {"U", Activity(20)},
                 {"I", Activity(30, {{"getDescription", "New"s}})},
                 {"U", Activity(40, {{"getActivityStatus", Integer{23}}})},
                 {"U", Activity(50, {{"getActivityStatus", Integer{25}}})},
                 {"D", Activity(-60)}};
    tables::CopyServiceOrderActivities({run, "tssoc210", "", 2});
    ExpectStatements("tssoc210.incremental");
    EXPECT_EQ(run.counters.inserted, 1);
    EXPECT_EQ(run.counters.updated, 1);
    EXPECT_EQ(run.counters.deleted, 3);
}

TEST_P(OrderStatements, OfAFullCopyOfOrderLines) {
    erp.records = {OrderLine("O'1", 1, "E1", 10), OrderLine("O2", 2, "NEW", 20)};
    tables::CopyServiceOrderLines({run, "tssoc205", "", 1});
    ExpectStatements("tssoc205.full");
}

TEST_P(OrderStatements, OfAnIncrementalCopyOfOrderLines) {
    erp.trail = {{"U", OrderLine("O'1", 1, "E1", 10)},
                 {"I", OrderLine("O2", 2, "NEW", 20)},
                 {"D", OrderLine("O3", 3, "", 0)}};
    database.WhenExecutedBeginning("DELETE FROM tssoc205", 0);
    tables::CopyServiceOrderLines({run, "tssoc205", "", 2});
    ExpectStatements("tssoc205.incremental");
    EXPECT_EQ(run.counters.deleted, 1) << "a deleted line counts whether or not a row went";
}

TEST_P(OrderStatements, OfAFullCopyOfAssignments) {
    erp.records = {Assignment("O'1", 1, 10, "E1"), Assignment("O2", 2, 99, "")};
    tables::CopyAssignments({run, "tssoc206", "", 1});
    ExpectStatements("tssoc206.full");
}

TEST_P(OrderStatements, OfAnIncrementalCopyOfAssignments) {
    database.WhenOpened("SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1",
                        Rows{{"orno", "acln"}, {{"O1"s, Long{70}}}});
    erp.trail = {{"D", Assignment("O1", 1, 10, "E1")},
                 {"U", Assignment("O1", 2, 20, "E1")},
                 {"I", Assignment("O1", 3, 99, "E1")},
                 {"D", Assignment("O1", 4, 10, "E1")}};
    tables::CopyAssignments({run, "tssoc206", "", 2});
    ExpectStatements("tssoc206.incremental");
    EXPECT_EQ(run.counters.deleted, 2) << "a deleted assignment counts whether or not a row went";
}

TEST_P(OrderStatements, OfAFullCopyOfPlannedActivities) {
    erp.records = {PlannedActivity("CFG1", 1),
                   PlannedActivity("NEW", 2, {{"getServiceOrder", ""s}, {"getActivityLineNumber", Long{0}}})};
    tables::CopyPlannedActivities({run, "tsspc200", "", 1});
    ExpectStatements("tsspc200.full");
}

TEST_P(OrderStatements, OfAnIncrementalCopyOfPlannedActivities) {
    erp.trail = {
        {"U", PlannedActivity("CFG1", 1)},
        {"I", PlannedActivity("NEW", 2, {{"getServiceOrder", ""s}, {"getActivityLineNumber", Long{0}}})},
        {"D", PlannedActivity("C'3", 3, {{"getActivity", "RA3"s}})}};
    database.WhenExecutedBeginning("DELETE FROM tsspc200", 0);
    tables::CopyPlannedActivities({run, "tsspc200", "", 2});
    ExpectStatements("tsspc200.incremental");
    EXPECT_EQ(run.counters.deleted, 1) << "a deleted activity counts whether or not a row went";
}

INSTANTIATE_TEST_SUITE_P(Platforms, OrderStatements,
                         ::testing::Values(std::pair{Integer{1}, "sqlserver"}, std::pair{Integer{2}, "oracle"}),
                         [](const auto& platform) { return std::string(platform.param.second); });

}  // namespace
}  // namespace iqrx::testing
