#include "runtime/database_session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;

class Session : public TestProcess, public ::testing::Test {
protected:
    runtime::DatabaseSession& session = process.database;
};

TEST_F(Session, OpensSqlServerWithoutTimeLimitsAndSetsDateFormatThenDatabase) {
    session.OpenDatabase("the string", "scheduling");
    EXPECT_THAT(database.calls, ElementsAre("CreateConnection the string", "ConnectionTimeout 0",
                                            "CommandTimeout 0", "OpenConnection the string",
                                            "Execute SET DATEFORMAT YMD", "DefaultDatabase scheduling"));
    EXPECT_EQ(session.CurrentDatabase(), "scheduling");
}

TEST_F(Session, KeepsTheLoginsDatabaseWhenNoneIsNamed) {
    session.OpenDatabase("the string", "");
    EXPECT_EQ(session.CurrentDatabase(), "master");
}

TEST_F(Session, SetsOraclesSchemaByStatement) {
    session.OpenDatabase("the string", "SCHED", runtime::kOracle);
    EXPECT_THAT(database.executed, ElementsAre("Alter session set current_schema= SCHED"));
    EXPECT_EQ(session.CurrentDatabase(), "SCHED");
    session.OpenDatabase("the string", "", runtime::kOracle);
    EXPECT_EQ(database.executed.size(), 1U) << "no statement without a name";
    EXPECT_EQ(session.CurrentDatabase(), "") << "that of the session before is gone";
}

TEST_F(Session, LetsTheErrorOfOpenReachItsCaller) {
    database.WhenConnected({-2147467259, "driver", "no such server"});
    EXPECT_THROW(session.OpenDatabase("the string", ""), platform::RuntimeError);
}

TEST_F(Session, KeepsNoDatabaseOfTheRunBeforeWhenTheNextConnectionFails) {
    session.OpenDatabase("the string", "SCHED", runtime::kOracle);
    database.WhenConnected({-2147467259, "driver", "no such server"});
    EXPECT_THROW(session.OpenDatabase("the string", "OTHER", runtime::kOracle), platform::RuntimeError);
    EXPECT_EQ(session.CurrentDatabase(), "");
}

TEST_F(Session, IgnoresWhatFailsInStatisticsAndInClosing) {
    session.OpenDatabase("the string", "");
    database.WhenExecuted("UPDATE STATISTICS tsmdm030", platform::RuntimeError(1, "s", "d"));
    session.UpdateStatistics(" tsmdm030 ");
    EXPECT_EQ(database.executed.back(), "UPDATE STATISTICS tsmdm030");
    session.CloseDatabase();
    session.CloseDatabase();
    EXPECT_THROW(session.Execute("x"), platform::RuntimeError);
}

}  // namespace
}  // namespace iqrx::testing
