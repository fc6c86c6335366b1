// Rows are counted as they are, by a wrapper around the database that exists in the test alone.
#include <gtest/gtest.h>

#include "platform/watch/watched_database.h"
#include "runtime/sql.h"
#include "support/recording_database.h"

namespace iqrx::platform::watch {
namespace {

class CountedRows : public ::testing::Test {
protected:
    CountedRows() { connection->Open("x"); }
    void Executed(const char* text, std::int32_t affected) {
        database.WhenExecuted(text, affected);
        EXPECT_EQ(connection->Execute(text), affected);
    }
    void ExpectRows(std::int64_t copied, std::int64_t removed) const {
        EXPECT_EQ(counts.copied, copied);
        EXPECT_EQ(counts.removed, removed);
    }
    std::unique_ptr<Recordset> Opened(const std::string& text) {
        auto recordset = connection->CreateRecordset();
        recordset->Open(text, CursorType::Keyset, LockType::Optimistic);
        return recordset;
    }

    testing::RecordingDatabase database;
    RowCounts counts;
    std::unique_ptr<DatabaseProvider> provider = CountRows(database, counts);
    std::unique_ptr<Connection> connection = provider->CreateConnection("x");
};

TEST_F(CountedRows, OfAFullCopyAreThoseFoundThoseInsertedAndThoseSwept) {
    Executed("UPDATE tsmdm030 SET upd_flag = 1 ", 40);
    ExpectRows(0, 0);
    Executed("UPDATE tsmdm030 SET dsca = N'x',upd_flag = 0 WHERE cstp = N'A'", 1);
    Executed("UPDATE tsmdm030 SET dsca = N'x',upd_flag = 0 WHERE cstp = N'B'", 0);
    ExpectRows(1, 0);
    Executed("INSERT INTO tsmdm030 (cstp,upd_flag) VALUES (N'B',0)", 1);
    ExpectRows(2, 0);
    Executed("DELETE FROM tsmdm030 WHERE upd_flag = 1", 37);
    ExpectRows(2, 37);
}

TEST_F(CountedRows, OfAnIncrementalCopyAreThoseThatADeleteFound) {
    Executed("DELETE FROM tsmdm030 WHERE cstp= N'A'", 1);
    Executed("DELETE FROM tsmdm030 WHERE cstp= N'gone'", 0);
    ExpectRows(0, 1);
}

TEST_F(CountedRows, AreWrittenByAnInsertOfWhichTheServerReportsNothing) {
    Executed("INSERT INTO tssoc206(orno,upd_flag) VALUES( N'O1',0)", -1);
    Executed("UPDATE tssoc206 SET acln  = 1,upd_flag =0  WHERE orno= N'O1'", -1);
    ExpectRows(1, 0);
}

TEST_F(CountedRows, AreNeitherThoseOfControlTablesNorOfChangeLogs) {
    Executed("UPDATE tstables SET in_use = 1WHERE tablename = N'tsmdm030'", 1);
    Executed("INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES(N'x',NULL,NULL)", 1);
    Executed("DELETE FROM tssoc200_audit WHERE orno= N'O1'", 1);
    Executed("INSERT INTO tssoc200_audit(orno,time,action) VALUES(  N'O1',NULL,N'D')", 1);
    Executed("DELETE FROM tssoc200_audit", 12);
    Executed("UPDATE STATISTICS tssoc200", 0);
    ExpectRows(0, 0);
}

TEST_F(CountedRows, OfABatchAreItsObjects) {
    constexpr Piece kPieces[] = {{"INSERT INTO tscfg200 (ccfg,crob) VALUES(", Piece::Then::Value},
                                 {",", Piece::Then::Value},
                                 {")\r\n", Piece::Then::Nothing}};
    const Literal three[] = {Literal::Text("C1"), Literal::Text("select count(*)"),
                             Literal::Text("C2"), Literal::Text("O"),
                             Literal::Text("C3"), Literal::Text("O")};
    connection->Execute({Shape{kPieces, "DECLARE @iCount int\r\n"}, "", three});
    ExpectRows(3, 0);
}

TEST_F(CountedRows, OfACalendarAreRemovedOnlySoFarAsFewerComeBack) {
    Executed("DELETE FROM tcccp030 WHERE ccal = N'C1'", 3);
    ExpectRows(0, 3);
    for (int day = 0; day < 2; ++day) Executed("INSERT INTO tcccp030(ccal,upd_flag) VALUES( N'C1',0)", 1);
    ExpectRows(2, 1);
    Executed("DELETE FROM tcccp030 WHERE ccal = N'C2'", 1);
    for (int day = 0; day < 5; ++day) Executed("INSERT INTO tcccp030(ccal,upd_flag) VALUES( N'C2',0)", 1);
    ExpectRows(7, 1);
    Executed("DELETE FROM tcccp030 WHERE upd_flag = 1", 4);
    ExpectRows(7, 5);
}

TEST_F(CountedRows, OfAnExpansionAreMadeHereAndNoneOfTheErps) {
    Executed("truncate table tcccp031 ", 2);
    database.WhenOpened("select * from tcccp031 WHERE  1=0", {{"ccal"}, {}});
    const auto pieces = Opened("select * from tcccp031 WHERE  1=0");
    for (int piece = 0; piece < 3; ++piece) {
        pieces->AddNew();
        pieces->SetField(0, std::string("C1"));
        pieces->Update();
    }
    ExpectRows(0, 0);
}

TEST_F(CountedRows, AreRemovedThroughARecordset) {
    database.WhenOpened("SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1",
                        {{"orno"}, {{std::string("O1")}}});
    Opened("SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1")->Delete();
    ExpectRows(0, 1);
}

TEST_F(CountedRows, OfAUnitThatFailsAreTakenOffAgain) {
    database.WhenExecuted("INSERT INTO tssoc200_audit(orno) VALUES(N'O1')",
                          RuntimeError(kDatabaseError, "db", "no such table"));
    EXPECT_THROW(connection->RunAsUnit([&] {
        Executed("DELETE FROM tssoc200  WHERE orno= N'O1'", 1);
        connection->Execute("INSERT INTO tssoc200_audit(orno) VALUES(N'O1')");
    }),
                 RuntimeError);
    ExpectRows(0, 0);
    connection->RunAsUnit([&] { Executed("DELETE FROM tssoc200  WHERE orno= N'O2'", 1); });
    ExpectRows(0, 1);
}

TEST_F(CountedRows, AreNotThoseOfAStatementThatFails) {
    database.WhenExecuted("INSERT INTO tsmdm030 (cstp) VALUES (N'B')", RuntimeError(1, "db", "full"));
    EXPECT_THROW(connection->Execute("INSERT INTO tsmdm030 (cstp) VALUES (N'B')"), RuntimeError);
    ExpectRows(0, 0);
}

TEST_F(CountedRows, WaitForTheDatabaseNoLongerWhenAStatementReturnsOrFails) {
    counts.waitedSeconds = 4;
    Executed("SET DATEFORMAT YMD", 0);
    EXPECT_EQ(counts.waitedSeconds, 0);
    database.WhenExecuted("x", RuntimeError(1, "db", "database is locked"));
    counts.waitedSeconds = 120;
    EXPECT_THROW(connection->Execute("x"), RuntimeError);
    EXPECT_EQ(counts.waitedSeconds, 0);
}

}  // namespace
}  // namespace iqrx::platform::watch
