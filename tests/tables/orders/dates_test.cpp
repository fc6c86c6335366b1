// Local times of the ERP become UTC in the local database.

#include <gtest/gtest.h>

#include "records.h"
#include "support/local_process.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

using platform::Value;

struct Moment {
    Value local;
    const char* utcInTheEast;  // an hour east of Greenwich
    const char* utcInTheWest;  // five hours west
};

// The standard offset holds in summer, too; what does not lie after the epoch is no date.
const Moment kMoments[] = {
    {At("2026-01-15 12:00:00"), "2026-01-15 11:00:00", "2026-01-15 17:00:00"},
    {At("2026-07-15 12:00:00"), "2026-07-15 11:00:00", "2026-07-15 17:00:00"},
    {At("2026-01-01 00:30:00"), "2025-12-31 23:30:00", "2026-01-01 05:30:00"},
    {At("2024-02-28 23:59:59"), "2024-02-28 22:59:59", "2024-02-29 04:59:59"},
    {At("1970-01-02 00:00:00"), "1970-01-01 23:00:00", "1970-01-02 05:00:00"},
    {At("1970-01-01 00:00:01"), "1969-12-31 23:00:01", "1970-01-01 05:00:01"},
    {At("1970-01-01 00:00:00"), "NULL", "NULL"},
    {At("1969-12-31 23:59:59"), "NULL", "NULL"},
    {At("1900-01-01 00:00:00"), "NULL", "NULL"},
    {Null(), "NULL", "NULL"},
};

struct DateColumn {
    const char* getter;
    const char* column;
};

// Writes a record whose dates are all the same moment, by an insert and then by an update.
template <class Write>
void ExpectDates(const std::string& table, const std::vector<DateColumn>& dates, Fields record, Write write) {
    for (const int bias : {-60, 300})
        for (const Integer databasePlatform : LocalPlatforms()) {
            LocalProcess world(databasePlatform);
            world.timeZone.bias = bias;
            for (const Moment& moment : kMoments) {
                SCOPED_TRACE(table + ", bias " + std::to_string(bias) + ", local " + Shown(moment.local));
                std::vector<std::string> columns;
                std::string expected;
                for (const DateColumn& date : dates) {
                    record[date.getter] = moment.local;
                    columns.push_back(date.column);
                    expected += expected.empty() ? "" : "|";
                    expected += bias < 0 ? moment.utcInTheEast : moment.utcInTheWest;
                }
                world.Execute("DELETE FROM " + table);
                for ([[maybe_unused]] const char* statement : {"insert", "update"}) {
                    write(world, *world.erp.MakeRecord(record, "record"));
                    EXPECT_EQ(world.Rows("SELECT * FROM " + table, columns), std::vector{expected})
                        << statement;
                }
                EXPECT_EQ(world.run.counters.inserted, world.run.counters.updated);
            }
        }
}

TEST(Dates, OfOrdersAreUtc) {
    ExpectDates("tssoc200",
                {{"getOrderDate", "ordt"},
                 {"getPlannedStartTime", "pstm"},
                 {"getPlannedFinishTime", "pftm"},
                 {"getPlannedEarliestStartTime", "estm"},
                 {"getPlannedLatestFinishTime", "lftm"},
                 {"getActualTravelStartTime", "tstm"},
                 {"getExecutionStartTime", "astm"},
                 {"getExecutionFinishTime", "aftm"},
                 {"getDispatchTime", "ract"}},
                Order("O1"), [](LocalProcess& world, platform::Object& order) {
                    tables::UpsertServiceOrder({world.run, "tssoc200", "", 1}, order, true);
                });
}

TEST(Dates, OfActivitiesAreUtc) {
    ExpectDates("tssoc210",
                {{"getPlannedStartTime", "pstm"},
                 {"getPlannedFinishTime", "pftm"},
                 {"getPlannedEarliestStartTime", "estm"},
                 {"getPlannedLatestFinishTime", "lftm"},
                 {"getExecutionStartTime", "astm"},
                 {"getExecutionFinishTime", "aftm"}},
                Activity(10), [](LocalProcess& world, platform::Object& activity) {
                    tables::UpsertServiceOrderActivity({world.run, "tssoc210", "", 1}, activity);
                });
}

TEST(Dates, OfAssignmentsAreUtc) {
    ExpectDates("tssoc206",
                {{"getDeliveryTime", "dltm"},
                 {"getAcceptanceTime", "actm"},
                 {"getRejectionTime", "rjtm"},
                 {"getPlannedStartTime", "pstm"},
                 {"getPlannedFinishTime", "pftm"},
                 {"getActualStartTime", "astm"},
                 {"getActualFinishTime", "aftm"},
                 {"getJobCompletionTime", "jctm"},
                 {"getLatestContactTime", "ltct"}},
                Assignment("O1", 1, 10, "E1"), [](LocalProcess& world, platform::Object& assignment) {
                    tables::UpsertAssignment({world.run, "tssoc206", "", 1}, assignment);
                });
}

TEST(Dates, OfPlannedActivitiesAreUtc) {
    ExpectDates("tsspc200",
                {{"getEarliestStartTime", "esct"},
                 {"getPlannedStartTime", "psct"},
                 {"getPlannedFinishTime", "pfct"},
                 {"getLatestFinishTime", "lfct"}},
                PlannedActivity("CFG1", 1), [](LocalProcess& world, platform::Object& activity) {
                    tables::UpsertPlannedActivity({world.run, "tsspc200", "", 1}, activity);
                });
}

}  // namespace
}  // namespace iqrx::testing
