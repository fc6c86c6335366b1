#include <gtest/gtest.h>

#include "platform/dialect/change.h"
#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {
namespace {

using dialect::Change;
using dialect::ChangeOf;
using dialect::PlaceOf;
using dialect::TableOf;

TEST(TableOfASelect, IsTheOneThatItReads) {
    EXPECT_EQ(TableOf("select * from tcccp031 WHERE  1=0"), "tcccp031");
    EXPECT_EQ(TableOf("SELECT * FROM tssoc206 WHERE orno= N'O1, from x' AND   asln= 1"), "tssoc206");
    EXPECT_EQ(TableOf("SELECT a.from_day FROM [dbo].[my table] a ORDER BY b, c"), "[dbo].[my table]");
    EXPECT_EQ(TableOf("SELECT ' FROM x' FROM \"Qrx\".\"t\""), "\"Qrx\".\"t\"");
}

TEST(TableOfASelect, IsNoneWhereSeveralAreRead) {
    EXPECT_EQ(TableOf("SELECT * FROM a, b"), "");
    EXPECT_EQ(TableOf("SELECT * FROM a JOIN b ON a.x = b.x"), "");
    EXPECT_EQ(TableOf("SELECT x FROM a UNION SELECT x FROM b"), "");
    EXPECT_EQ(TableOf("SELECT * FROM (SELECT 1) x"), "");
    EXPECT_EQ(TableOf("SELECT 1"), "");
}

TEST(CatalogNames, AreTheLastPartAsTheCatalogKeepsIt) {
    EXPECT_EQ(CatalogName("dbo.tssoc206", NameCase::AsWritten), "tssoc206");
    EXPECT_EQ(CatalogName("tssoc206", NameCase::Upper), "TSSOC206");
    EXPECT_EQ(CatalogName("TSSOC206", NameCase::Lower), "tssoc206");
    EXPECT_EQ(CatalogName("\"Qrx\".\"Mixed Case\"", NameCase::Upper), "Mixed Case");
    EXPECT_EQ(CatalogName("[dbo].[t]", NameCase::Upper), "t");
}

TEST(PlacesOfStatements, AreTheTableAndTheRow) {
    EXPECT_EQ(PlaceOf("UPDATE tsmdm030 SET dsca = N'x WHERE y', dahe = 1 WHERE cstp = N'A''B'"),
              "table tsmdm030, row cstp = N'A''B'");
    EXPECT_EQ(PlaceOf("UPDATE  tscfg200 SET  ccfg =N'a' WHERE ccfg= N'a' AND crob= N'b' AND oseq= '3'"),
              "table tscfg200, row ccfg= N'a' AND crob= N'b' AND oseq= '3'");
    EXPECT_EQ(PlaceOf("INSERT INTO tsmdm030 (cstp,dsca) VALUES (N'A, (B)',N'x',1,0)"),
              "table tsmdm030, row cstp = N'A, (B)'");
    EXPECT_EQ(
        PlaceOf("INSERT INTO tssoc200_audit(orno,time,action) VALUES(  N'O1',CONVERT(DATETIME,'',120),N'I')"),
        "table tssoc200_audit, row orno = N'O1'");
    EXPECT_EQ(PlaceOf("insert into t values (5, N'x')"), "table t, row 5");
    EXPECT_EQ(PlaceOf("UPDATE tsmdm030 SET upd_flag = 1 "), "table tsmdm030");
}

TEST(PlacesOfStatements, AreCutWhereAReaderHasSeenEnough) {
    std::string name;
    for (int i = 0; i < 300; ++i) name += "\u00fc";
    const std::string place = PlaceOf("UPDATE t SET a = 1 WHERE b = N'" + name + "'");
    EXPECT_LT(place.size(), 440U);  // of two bytes each
    EXPECT_TRUE(place.ends_with("\u00fc..."));
}

TEST(PlacesOfStatements, AreNotKnownOfOtherTexts) {
    for (const char* text : {"DECLARE @iCount int\r\n BEGIN", "SELECT * FROM t WHERE a = 1", "", "UPDATE",
                             "UPDATE STATISTICS t", "INSERT INTO", "truncate table t"})
        EXPECT_EQ(PlaceOf(text), "") << text;
}

TEST(Changes, AreToldByTheFirstWords) {
    const auto table = [](const char* sql) { return ChangeOf(sql).table; };
    EXPECT_EQ(table("UPDATE tstables SET in_use = 1WHERE tablename = N'x'"), "tstables");
    EXPECT_EQ(table("INSERT INTO tscfg220(ccfg, dsca) VALUES(N'a',N'b')"), "tscfg220");
    EXPECT_EQ(table("delete from tcccp030 where ccal = N'x'"), "tcccp030");
    EXPECT_EQ(ChangeOf("DECLARE @iCount int\r\n BEGIN").kind, Change::Kind::Rows);
    EXPECT_EQ(ChangeOf("select * from t").kind, Change::Kind::Nothing);
    EXPECT_EQ(ChangeOf("UPDATE STATISTICS tsmdm030").kind, Change::Kind::Other);
    EXPECT_EQ(ChangeOf("SET DATEFORMAT YMD").kind, Change::Kind::Other);
    EXPECT_EQ(ChangeOf("truncate table tcccp031 ").kind, Change::Kind::Other);
    EXPECT_EQ(ChangeOf("Alter session set current_schema= QRX").kind, Change::Kind::Other);
}

}  // namespace
}  // namespace iqrx::platform::odbc
