// The statement texts that the copy sends, on both platforms.
#include <gmock/gmock.h>

#include "batch_texts.h"
#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Statements : public DatabaseTest {
protected:
    Statements() {
        Create(R"(
            CREATE TABLE tstables(tablename TEXT PRIMARY KEY, lutm DATETIME, in_use INTEGER, reqd INTEGER);
            CREATE TABLE tsfullsyncs(tablename TEXT PRIMARY KEY, starttime DATETIME, finishtime DATETIME);
            CREATE TABLE tsmdm030(cstp TEXT PRIMARY KEY, dsca TEXT, prod TEXT, ract TEXT, dahe INTEGER, upd_flag INTEGER);
            CREATE TABLE tsmdm100(cwoc TEXT PRIMARY KEY, ccal TEXT);
            CREATE TABLE tsmdm140(emno TEXT PRIMARY KEY, ccal TEXT);
            CREATE TABLE tcccp030(ccal TEXT, stdt DATETIME, sttm INTEGER, ustm DATETIME);
            CREATE TABLE tscfg200(ccfg TEXT, crob TEXT, oseq INTEGER, dsca TEXT, upd_flag INTEGER,
                                  PRIMARY KEY(ccfg, crob, oseq));)");
    }
};

TEST_F(Statements, UpdateThenInsertTellWhetherTheRowWasThere) {
    const char* update =
        "UPDATE tsmdm030 SET dsca = N'Repair', prod = N'', ract = N'A', dahe = 1, upd_flag = 0 WHERE cstp = N'R'";
    const char* insert =
        "INSERT INTO tsmdm030 (cstp,dsca,prod,ract,dahe,upd_flag) VALUES (N'R',N'Install',N'P',N'A',0,0)";
    EXPECT_EQ(Execute(update), 0);
    EXPECT_EQ(Execute(insert), 1);
    EXPECT_EQ(Execute(update), 1);
    EXPECT_THAT(Rows("SELECT * FROM tsmdm030", 6), ElementsAre("R|Repair||A|1|0"));
}

TEST_F(Statements, MarkSweepAndTruncate) {
    Execute("INSERT INTO tsmdm030 (cstp,upd_flag) VALUES (N'A',0)");
    Execute("INSERT INTO tsmdm030 (cstp,upd_flag) VALUES (N'B',0)");
    EXPECT_EQ(Execute("UPDATE tsmdm030 SET upd_flag = 1 "), 2);
    EXPECT_EQ(Execute("UPDATE tsmdm030 SET upd_flag=0 WHERE cstp =N'A'"), 1);
    EXPECT_EQ(Execute("DELETE FROM tsmdm030 WHERE upd_flag = 1"), 1);
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030", 1), ElementsAre("A"));
    EXPECT_EQ(Execute("truncate table tsmdm030 "), 0);
    EXPECT_THAT(Rows("select * from tsmdm030", 1), ElementsAre());
}

TEST_F(Statements, LockATableWithNoBlankBeforeWhere) {
    EXPECT_EQ(Execute("UPDATE tstables SET in_use = 1WHERE tablename = N'tsmdm030'"), 0);
    EXPECT_EQ(
        Execute(
            "INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES(N'tsmdm030','2009-05-07 08:00:00',1,1)"),
        1);
    EXPECT_EQ(Execute("UPDATE tstables SET in_use = 0WHERE tablename = N'tsmdm030'"), 1);
    EXPECT_THAT(Rows("SELECT * FROM tstables WHERE tablename = N'tsmdm030'", 4),
                ElementsAre("tsmdm030|2009-05-07 08:00:00|0|1"));
}

TEST_F(Statements, SessionStatementsAreTakenAndChangeNothing) {
    EXPECT_EQ(Execute("SET DATEFORMAT YMD"), 0);
    EXPECT_EQ(Execute("Alter session set current_schema= QRX-1"), 0);
    EXPECT_THAT(ErrorOf("SET LANGUAGE us_english"), HasSubstr("not understood at \"LANGUAGE us_english\""));
}

TEST_F(Statements, UpdateStatisticsAnalyzesTheTable) {
    Execute("INSERT INTO tsmdm030 (cstp) VALUES (N'A')");
    EXPECT_EQ(Execute("UPDATE STATISTICS tsmdm030"), 0);
    EXPECT_THAT(Rows("SELECT tbl FROM sqlite_stat1", 1), ElementsAre("tsmdm030"));
}

TEST_F(Statements, AnEmptyDateIsTheZeroDateOfTheOneServerAndNullOnTheOther) {
    Execute(
        "INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES(N'a',CONVERT(DATETIME,'',120),NULL)");
    Execute(
        "INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES(N'b',TO_DATE( '','yyyy-mm-dd HH24:MI:SS'),NULL)");
    EXPECT_THAT(Rows("SELECT * FROM tsfullsyncs", 3), ElementsAre("a|1900-01-01 00:00:00|NULL", "b|NULL|NULL"));
    Execute(
        "UPDATE tsfullsyncs SET starttime=TO_DATE( '2009-05-07 08:00:00','yyyy-mm-dd HH24:MI:SS'), "
        "finishtime = NULL WHERE tablename = N'b'");
    EXPECT_THAT(Rows("SELECT starttime FROM tsfullsyncs WHERE tablename=N'b'", 1),
                ElementsAre("2009-05-07 08:00:00"));
}

TEST_F(Statements, CalendarRowsTakeQuotedNumbersAndBothFormsOfDates) {
    Execute("INSERT INTO tcccp030(ccal,stdt,sttm,ustm) VALUES( N'C',N'2009-05-07',N'800',NULL)");
    Execute(
        "INSERT INTO tcccp030(ccal,stdt,sttm,ustm) VALUES( N'C',TO_DATE('2009/05/08','yyyy/mm/dd'),N'800',NULL)");
    auto rows = Select("select * from tcccp030 WHERE  ccal=N'C'");
    EXPECT_TRUE(rows->Field("stdt").Is<Date>());
    EXPECT_EQ(rows->Field("sttm"), Value(Long{800}));
    rows->MoveNext();
    EXPECT_EQ(Shown(rows->Field("stdt")), "2009-05-08 00:00:00");
}

TEST_F(Statements, CalendarsInUseComeFromEmployeesAndServiceCentersInOrder) {
    Execute("INSERT INTO tsmdm140(emno,ccal) VALUES(N'1',N'B')");
    Execute("INSERT INTO tsmdm140(emno,ccal) VALUES(N'2',N'')");
    Execute("INSERT INTO tsmdm140(emno,ccal) VALUES(N'3',NULL)");
    Execute("INSERT INTO tsmdm100(cwoc,ccal) VALUES(N'1',N'A')");
    Execute("INSERT INTO tsmdm100(cwoc,ccal) VALUES(N'2',N'B')");
    EXPECT_THAT(
        Rows("SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N'' OR  tsmdm140.ccal is NOT NULL)"
             " UNION "
             " SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N'' OR  tsmdm100.ccal is NOT NULL) "
             " order by tsmdm140.ccal asc ",
             1),
        ElementsAre("", "A", "B"));
    EXPECT_THAT(
        Rows("SELECT DISTINCT tsmdm140.ccal  FROM tsmdm140 WHERE (tsmdm140.ccal <>  N' ' OR  tsmdm140.ccal is NOT NULL)"
             " UNION "
             " SELECT DISTINCT tsmdm100.ccal  FROM tsmdm100 WHERE (tsmdm100.ccal <>  N' ' OR  tsmdm100.ccal is NOT NULL)"
             " order by ccal asc ",
             1),
        ElementsAre("", "A", "B"));
}

TEST_F(Statements, TheCatalogIsReadFromThreeTables) {
    Create(R"(
        CREATE TABLE tstreenodes(tableid INTEGER, groupid TEXT, label TEXT);
        CREATE TABLE tsi18ntext(label TEXT, text TEXT);
        ALTER TABLE tstables ADD COLUMN ERPTableID TEXT;
        ALTER TABLE tstables ADD COLUMN tableid INTEGER;
        ALTER TABLE tstables ADD COLUMN productid TEXT;
        INSERT INTO tstables VALUES('tsmdm030', NULL, 0, 1, 'erp030', 2, '1028'), ('other', NULL, 0, 1, 'x', 3, '9');
        INSERT INTO tstreenodes VALUES(2, 'SYNC', 'L2'), (3, 'SYNC', 'L2');
        INSERT INTO tsi18ntext VALUES('L2', 'Service types');)");
    auto rows = Select(
        "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c"
        " where a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label");
    ASSERT_EQ(rows->RecordCount(), 1);
    EXPECT_EQ(rows->Field("ERPTableID"), Value(std::string("erp030")));
    EXPECT_EQ(rows->Field("TableID"), Value(Long{2}));
    EXPECT_EQ(rows->Field("TableName"), Value(std::string("tsmdm030")));
    EXPECT_EQ(rows->Field("Text"), Value(std::string("Service types")));
}

TEST_F(Statements, OfMoreShapesThanAreKeptGoOnWorking) {
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(
            Execute("INSERT INTO" + std::string(static_cast<std::size_t>(i % 100 + 1), ' ') +
                    "tsmdm030 (cstp,dahe) VALUES (N'" + std::to_string(i) + "'," + std::to_string(i) + ")"),
            1);
    EXPECT_EQ(Select("SELECT * FROM tsmdm030")->RecordCount(), 200);
}

TEST_F(Statements, BatchesInsertNewObjectsAndUpdateKnownOnes) {
    EXPECT_EQ(Execute("DECLARE @iCount int\r\n" + SqlServerBlock("A", 1, "first") +
                      SqlServerBlock("B", 1, "END ELSE") + SqlServerBlock("A", 1, "second")),
              3);
    EXPECT_THAT(Rows("SELECT * FROM tscfg200", 5), ElementsAre("A|X|1|second|0", "B|X|1|END ELSE|0"));
}

TEST_F(Statements, BatchesWorkInTheOtherServersFormToo) {
    EXPECT_EQ(Execute("DECLARE \r\n iCount NUMBER;\r\n" + OracleBlock("A", 1, "first") +
                      OracleBlock("A", 2, "x") + OracleBlock("A", 1, "second")),
              3);
    EXPECT_THAT(Rows("SELECT * FROM tscfg200", 5), ElementsAre("A|X|1|second|0", "A|X|2|x|0"));
}

TEST_F(Statements, AFailingBatchWritesNoneOfItsObjects) {
    connection = Connect();
    Execute("INSERT INTO tsmdm030 (cstp) VALUES (N'before')");
    const std::string failing =
        "\r\n BEGIN \r\nINSERT INTO tscfg200 (ccfg, crob, oseq) VALUES(N'A',N'X',1)\r\n END\r\n";
    EXPECT_THAT(ErrorOf("DECLARE @iCount int\r\n" + SqlServerBlock("A", 1, "first") + failing),
                HasSubstr("UNIQUE"));
    EXPECT_THAT(Rows("SELECT * FROM tscfg200", 1), ElementsAre());
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030", 1), ElementsAre("before"));
}

TEST_F(Statements, ThatAreNotUnderstoodAreErrorsThatQuoteThePlace) {
    EXPECT_THAT(ErrorOf("MERGE INTO tsmdm030"),
                HasSubstr("not understood at \"MERGE INTO tsmdm030\" (character 1)"));
    EXPECT_THAT(ErrorOf("UPDATE tsmdm030 SET dsca = N'x' WHERE cstp LIKE N'x%'"),
                HasSubstr("at \"LIKE N'x%'\""));
    EXPECT_THAT(ErrorOf("DELETE FROM tsmdm030 WHERE"), HasSubstr("at the end of the statement"));
    EXPECT_THAT(ErrorOf("DELETE FROM tsmdm030 WHERE cstp = N'x' -- all"), HasSubstr("at \"-- all\""));
    EXPECT_THAT(ErrorOf("INSERT INTO tsmdm030(cstp) VALUES(?)"), HasSubstr("Unexpected character at \"?)\""));
    EXPECT_THAT(ErrorOf("DECLARE @a int BEGIN select @b = count(*) from tsmdm030 END"),
                HasSubstr("not declared at \"@b"));
    EXPECT_EQ(Db().LastErrors().at(0).sqlState, "42000");
}

}  // namespace
}  // namespace iqrx::platform::sqlite
