// What one entry of the audit trail does to an order or an activity, for every combination of circumstances,
// on a local database.

#include <gtest/gtest.h>

#include <algorithm>

#include "records.h"
#include "support/local_process.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

struct Case {
    std::string change;  // the record status; "" is none
    bool present;
    Integer status;
    Integer filterFlag;
    bool soldToChanged;
};

// How things stand after the copy.
struct Outcome {
    std::string row = {};     // "" when there is none
    std::string action = {};  // of the change-log row
    Long inserted = 0, updated = 0, deleted = 0;
    bool fetched = false;  // the ERP was asked for the order

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "row [" << outcome.row << "], action [" << outcome.action << "], inserted "
               << outcome.inserted << ", updated " << outcome.updated << ", deleted " << outcome.deleted
               << (outcome.fetched ? ", fetched" : "");
}

std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << "change [" << c.change << "], " << (c.present ? "present" : "absent") << ", status "
               << c.status << ", filter flag " << c.filterFlag << ", sold-to "
               << (c.soldToChanged ? "changed" : "same");
}

std::vector<Case> AllCases(std::initializer_list<bool> soldTo) {
    std::vector<Case> cases;
    for (const char* change : {"D", "U", "I", ""})
        for (const bool present : {true, false})
            for (const Integer status : {Integer{10}, Integer{23}, Integer{25}})
                for (const Integer filterFlag : {Integer{95}, Integer{79}, Integer{127}, Integer{0}})
                    for (const bool changed : soldTo)
                        cases.push_back({change, present, status, filterFlag, changed});
    return cases;
}

// 95 keeps status 25 out, 79 also 23; no other flag filters.
bool KeptOut(const Case& c) {
    if (c.filterFlag == 95) return c.status == 25;
    if (c.filterFlag == 79) return c.status == 23 || c.status == 25;
    return false;
}

// The change-log holds an older row of the same key: it goes only when another takes its place.
constexpr const char* kOlderAction = "X";

Outcome Deleted(const Case& c) { return {.row = "", .action = c.present ? "D" : kOlderAction, .deleted = 1}; }
Outcome KeptOutOf(const Case& c) { return c.present ? Deleted(c) : Outcome{"", kOlderAction}; }

void Clear(LocalProcess& world, const std::string& table) {
    for (const std::string& filled : {table, table + "_audit", "tstables"s})
        world.Execute("DELETE FROM " + filled);
    world.erp.calls.clear();
}

Outcome ExpectedOrder(const Case& c) {
    const std::string before = c.present ? "B1|Brown|OLD" : "";
    if (c.change.empty()) return {before, kOlderAction};
    if (c.change == "D") return Deleted(c);
    if (KeptOut(c)) return KeptOutOf(c);
    if (!c.present) return {c.soldToChanged ? "B2|Fresh|ERP" : "B1|Fresh|ERP", c.change, 1, 0, 0, true};
    if (c.soldToChanged) return {"B2|Fresh|ERP", c.change, 0, 1, 0, true};
    return {"B1|Brown|TRAIL", c.change, 0, 1, 0, false};
}

Outcome CopyOrder(LocalProcess& world, const Case& c) {
    Clear(world, "tssoc200");
    world.GivenTable("tssoc200", c.filterFlag);
    world.Execute("INSERT INTO tssoc200(orno,ofbp,stna,ccfg,upd_flag) VALUES(N'O2',N'B9',N'Other',N'C9',0)");
    world.Execute("INSERT INTO tssoc200_audit(orno,action) VALUES(N'O1',N'X')");
    if (c.present)
        world.Execute(
            "INSERT INTO tssoc200(orno,ofbp,stna,ccfg,upd_flag) VALUES(N'O1',N'B1',N'Brown',N'OLD',0)");
    const std::string soldTo = c.soldToChanged ? "B2" : "B1";
    world.erp.records = {Order("O1", {{"getSoldToBusinessPartner", soldTo},
                                      {"getSoldToBusinessPartnerName", "Fresh"s},
                                      {"getConfiguration", "ERP"s}})};
    world.erp.trail = {{c.change, OrderInTrail("O1", {{"getSoldToBusinessPartner", soldTo},
                                                      {"getOrderStatus", c.status},
                                                      {"getConfiguration", "TRAIL"s}})}};

    tables::CopyServiceOrders({world.run, "tssoc200", "", 2});

    Outcome outcome{.inserted = world.run.counters.inserted,
                    .updated = world.run.counters.updated,
                    .deleted = world.run.counters.deleted};
    const auto rows = world.Rows("SELECT * FROM tssoc200 WHERE orno= N'O1'", {"ofbp", "stna", "ccfg"});
    if (!rows.empty()) outcome.row = rows.at(0);
    const auto log = world.Rows("SELECT * FROM tssoc200_audit WHERE orno= N'O1'", {"action"});
    EXPECT_EQ(log.size(), 1U) << c;
    outcome.action = log.at(0);
    outcome.fetched = std::ranges::count(world.erp.calls, "manager.GetByKeyRange('O1', 'O1')") == 1;
    EXPECT_EQ(world.Rows("SELECT * FROM tssoc200 WHERE orno= N'O2'", {"ofbp", "stna", "ccfg"}),
              std::vector{"B9|Other|C9"s})
        << "another order is left alone: " << c;
    EXPECT_EQ(world.LastUpdate("tssoc200"), "2026-03-04 04:06:07") << c;
    return outcome;
}

TEST(OrderChanges, LeaveRowCountersAndChangeLogAsTheCircumstancesAsk) {
    LocalProcess world;
    for (const Case& c : AllCases({false, true})) EXPECT_EQ(CopyOrder(world, c), ExpectedOrder(c)) << c;
}

Outcome ExpectedActivity(const Case& c) {
    const std::string before = c.present ? "OLD|Old" : "";
    if (c.change.empty()) return {before, kOlderAction};
    if (c.change == "D") return Deleted(c);
    if (KeptOut(c)) return KeptOutOf(c);
    if (!c.present) return {"RA1|Trail", c.change, 1, 0, 0};
    return {"OLD|Trail", c.change, 0, 1, 0};  // the reference activity stays what it was
}

Outcome CopyActivity(LocalProcess& world, const Case& c) {
    Clear(world, "tssoc210");
    world.GivenTable("tssoc210", c.filterFlag);
    world.Execute("INSERT INTO tssoc210(orno,acln,crac,dsca,upd_flag) VALUES(N'O1',20,N'C2',N'Other',0)");
    world.Execute("INSERT INTO tssoc210_audit(orno,acln,action) VALUES(N'O1',10,N'X')");
    if (c.present)
        world.Execute("INSERT INTO tssoc210(orno,acln,crac,dsca,upd_flag) VALUES(N'O1',10,N'OLD',N'Old',0)");
    world.erp.trail = {
        {c.change, Activity(10, {{"getActivityStatus", c.status}, {"getDescription", "Trail"s}})}};

    tables::CopyServiceOrderActivities({world.run, "tssoc210", "", 2});

    Outcome outcome{.inserted = world.run.counters.inserted,
                    .updated = world.run.counters.updated,
                    .deleted = world.run.counters.deleted};
    const auto rows = world.Rows("SELECT * FROM tssoc210 WHERE acln= 10", {"crac", "dsca"});
    if (!rows.empty()) outcome.row = rows.at(0);
    const auto log = world.Rows("SELECT * FROM tssoc210_audit WHERE acln= 10", {"action"});
    EXPECT_EQ(log.size(), 1U) << c;
    outcome.action = log.at(0);
    EXPECT_EQ(world.Rows("SELECT * FROM tssoc210 WHERE acln= 20", {"crac", "dsca"}), std::vector{"C2|Other"s})
        << "another activity is left alone: " << c;
    EXPECT_EQ(world.LastUpdate("tssoc210"), "2026-03-04 04:06:07") << c;
    return outcome;
}

TEST(ActivityChanges, LeaveRowCountersAndChangeLogAsTheCircumstancesAsk) {
    LocalProcess world;
    for (const Case& c : AllCases({false})) EXPECT_EQ(CopyActivity(world, c), ExpectedActivity(c)) << c;
}

}  // namespace
}  // namespace iqrx::testing
