#include "control/control_tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Long;
using platform::Null;
using ::testing::ElementsAre;

constexpr const char* kControlRow = "SELECT * FROM tstables WHERE tablename = N'tsmdm030'";

class ControlTables : public TestProcess, public ::testing::Test {
protected:
    ControlTables() { OpenDatabase(1); }
    control::ControlTables& tables = process.controlTables;
};

TEST_F(ControlTables, TellATableInUse) {
    EXPECT_FALSE(tables.IsTableInUse("tsmdm030")) << "no row";
    for (const auto& [value, inUse] :
         {std::pair<platform::Value, bool>{Long{1}, true}, {Long{0}, false}, {Null{}, false}}) {
        database.WhenOpened(kControlRow, Rows{{"in_use"}, {{value}}});
        EXPECT_EQ(tables.IsTableInUse("tsmdm030"), inUse);
    }
}

TEST_F(ControlTables, LockAndUnlockAKnownTableByOneStatement) {
    database.defaultAffected = 1;
    tables.LockTable("tsmdm030");
    tables.UnlockTable("tsmdm030");
    EXPECT_THAT(database.executed, ElementsAre("UPDATE tstables SET in_use = 1WHERE tablename = N'tsmdm030'",
                                               "UPDATE tstables SET in_use = 0WHERE tablename = N'tsmdm030'"));
}

TEST_F(ControlTables, AddARowForATableWithoutOne) {
    tables.LockTable("tsmdm030");
    tables.UnlockTable("tsmdm030");
    EXPECT_THAT(
        database.executed,
        ElementsAre(
            "UPDATE tstables SET in_use = 1WHERE tablename = N'tsmdm030'",
            "INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES(N'tsmdm030','2026-03-04 05:06:07',1,1)",
            "UPDATE tstables SET in_use = 0WHERE tablename = N'tsmdm030'",
            "INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES(N'tsmdm030','2026-03-04 05:06:07',0,1)"));
}

TEST_F(ControlTables, AddTheRowWithOraclesDateOnOracle) {
    OpenDatabase(2);
    tables.LockTable("tsmdm030");
    EXPECT_EQ(
        database.executed.back(),
        "INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES(N'tsmdm030',TO_DATE( '2026-03-04 05:06:07','yyyy-mm-dd HH24:MI:SS'),1,1)");
}

TEST_F(ControlTables, GiveTheEpochForATableThatWasNeverCopied) {
    EXPECT_EQ(tables.GetTableLastUpdate("tsmdm030"), At("1970-01-01"));
    database.WhenOpened(kControlRow, Rows{{"lutm"}, {{Null{}}}});
    EXPECT_EQ(tables.GetTableLastUpdate("tsmdm030"), At("1970-01-01"));
    database.WhenOpened(kControlRow, Rows{{"lutm"}, {{At("2026-01-02 03:04:05")}}});
    EXPECT_EQ(tables.GetTableLastUpdate("tsmdm030"), At("2026-01-02 03:04:05"));
}

TEST_F(ControlTables, StampTheLastUpdateAndAddTheRowThatIsMissing) {
    tables.SetTableLastUpdate("tsmdm030", platform::Literal::Unknown("LITERAL"));
    EXPECT_THAT(
        database.executed,
        ElementsAre("UPDATE tstables SET lutm  = LITERAL WHERE tablename = N'tsmdm030'",
                    "INSERT INTO tstables(tablename,lutm, reqd, in_use) VALUES(N'tsmdm030',LITERAL, 0, 0)"));
}

TEST_F(ControlTables, ReadTheFilterFlag) {
    database.WhenOpened(kControlRow, Rows{{"FilterFlag"}, {{Long{95}}}});
    EXPECT_EQ(tables.GetFilterFlag("tsmdm030"), 95);
}

TEST_F(ControlTables, RefuseAFilterFlagThatIsNotSetRatherThanSweepEveryOrder) {
    database.WhenOpened(kControlRow, Rows{{"FilterFlag"}, {{Null{}}}});
    EXPECT_THROW(tables.GetFilterFlag("tsmdm030"), platform::RuntimeError);
}

TEST_F(ControlTables, MarkFullCopiesWithTheEmptyTime) {
    tables.MarkFullSyncStart("tssoc200");
    tables.MarkFullSyncFinish("tssoc200");
    EXPECT_THAT(
        database.executed,
        ElementsAre(
            "UPDATE tsfullsyncs SET starttime=CONVERT(DATETIME,'',120), finishtime = NULL WHERE tablename = N'tssoc200'",
            "INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES(N'tssoc200',CONVERT(DATETIME,'',120),NULL)",
            "UPDATE tsfullsyncs SET finishtime =CONVERT(DATETIME,'',120) WHERE tablename = N'tssoc200'"));
    OpenDatabase(2);
    tables.MarkFullSyncFinish("tssoc200");
    EXPECT_EQ(
        database.executed.back(),
        "UPDATE tsfullsyncs SET finishtime =TO_DATE( '','yyyy-mm-dd HH24:MI:SS') WHERE tablename = N'tssoc200'");
}

TEST_F(ControlTables, PurgeAChangeLog) {
    tables.PurgeAuditTable("tssoc200");
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tssoc200_audit"));
}

TEST_F(ControlTables, ReadTheParameters) {
    database.WhenOpened("SELECT * FROM tsparameters", Rows{{"Qrxcal", "tvkparam"}, {{Long{30}, Long{1}}}});
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{Long{1}}}});
    EXPECT_EQ(tables.GetQrxCalendar(), 30);
    EXPECT_EQ(tables.GetTVKFilter(), platform::Value(Long{1}));
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{Null{}}}});
    EXPECT_EQ(tables.GetTVKFilter(), platform::Value());
}

TEST_F(ControlTables, RaiseWhenThereIsNoParameterRow) {
    try {
        tables.GetTVKFilter();
        FAIL();
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.number, 1005);
        EXPECT_EQ(error.source, "GetTVKFilter");
        EXPECT_EQ(error.description, "Could not get the Filter Flag");
    }
}

}  // namespace
}  // namespace iqrx::testing
