#include <gtest/gtest.h>

#include <functional>

#include "platform/error.h"
#include "records.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

struct FailingCopy {
    const char* table;
    control::Routine* copy;
    const char* titleLabel;
};

TEST(AFailedCopy, SaysWhichTableInTheCatalogsWords) {
    const FailingCopy copies[] = {{"tssoc200", tables::CopyServiceOrders, "STIT0017"},
                                  {"tssoc205", tables::CopyServiceOrderLines, "STIT0018"},
                                  {"tssoc206", tables::CopyAssignments, "STIT0019"},
                                  {"tssoc210", tables::CopyServiceOrderActivities, "STIT0020"},
                                  {"tsspc200", tables::CopyPlannedActivities, "STIT0021"}};
    for (const auto& [table, copy, titleLabel] : copies)
        for (const Integer syncMethod : {Integer{1}, Integer{2}}) {
            SCOPED_TRACE(table + (" by method " + std::to_string(syncMethod)));
            TestProcess process;
            process.xml.texts = {
                {"SLBL0507", "%1: %2"}, {"STIT0095", "Data copy"}, {"SLBL0512", "no copy of %1"}};
            process.xml.texts[titleLabel] = "the table";
            process.OpenDatabase();
            process.database.FailStatement(1, {-2147217900, "Server", "Deadlock"});
            try {
                copy({process.run, table, "", syncMethod});
                ADD_FAILURE() << "no error";
            } catch (const platform::RuntimeError& error) {
                EXPECT_EQ(error.number, -2147217900);
                EXPECT_EQ(error.description, "Data copy: no copy of the table");
            }
        }
}

TEST(Upsert, CountsEveryInsertWhateverTheServerReports) {
    TestProcess process;
    process.OpenDatabase();  // every statement affects no row
    const auto write = [&](const std::function<engine::UpsertRoutine>& upsert, const Fields& record) {
        upsert({process.run, "table", "", control::kFull}, *process.erp.MakeRecord(record, "record"));
    };
    write([](const control::TableCall& call, auto& record) { tables::UpsertServiceOrder(call, record, true); },
          Order("O1"));
    write(tables::UpsertServiceOrderActivity, Activity(1));
    write(tables::UpsertServiceOrderLine, OrderLine("O1", 1, "E1", 10));
    write(tables::UpsertAssignment, Assignment("O1", 1, 10, "E1"));
    write(tables::UpsertPlannedActivity, PlannedActivity("C1", 1));
    EXPECT_EQ(process.run.counters.inserted, 5);
    EXPECT_EQ(process.run.counters.updated, 0);
}

TEST(Upsert, RaisesWhatItCannotConvert) {
    TestProcess process;
    process.OpenDatabase();
    const auto numberOf = [&](const Fields& order) {
        try {
            tables::UpsertServiceOrder({process.run, "tssoc200", "", 1},
                                       *process.erp.MakeRecord(order, "record"), true);
        } catch (const platform::RuntimeError& error) {
            return error.number;
        }
        return 0;
    };
    EXPECT_EQ(numberOf(Order("O1", {{"getProject", Null()}})), platform::kInvalidUseOfNull);
    EXPECT_EQ(numberOf(Order("O1", {{"getOrderStatus", Null()}})), platform::kInvalidUseOfNull);
    EXPECT_EQ(numberOf(Order("O1", {{"getBlocked", Integer{256}}})), platform::kOverflow);
    EXPECT_EQ(numberOf(Order("O1", {{"getOrderDuration", "long"s}})), platform::kTypeMismatch);
    EXPECT_TRUE(process.database.executed.empty());
}

}  // namespace
}  // namespace iqrx::testing
