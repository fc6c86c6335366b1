#include <gtest/gtest.h>

#include "platform/odbc/table.h"
#include "platform/odbc/utf16.h"

namespace iqrx::platform::odbc {
namespace {

TEST(Utf16, KeepsEveryCharacterBothWays) {
    const std::string text = "a\u00e9\u07ff\u0800\u6771\uffff\U00010000\U0001F600\U0010FFFF";

    EXPECT_EQ(ToUtf16(text), u"a\u00e9\u07ff\u0800\u6771\uffff\U00010000\U0001F600\U0010FFFF");
    EXPECT_EQ(ToUtf8(ToUtf16(text)), text);
}

TEST(Utf16, ReplacesWhatIsNoText) {
    EXPECT_EQ(ToUtf16("a\x80z"), u"a\uFFFDz");
    EXPECT_EQ(ToUtf16("a\xC3"), u"a\uFFFD");
    EXPECT_EQ(ToUtf16("\xC0\x80"), u"\uFFFD\uFFFD") << "a longer form of a shorter character";
    EXPECT_EQ(ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD") << "half of a pair";
    EXPECT_EQ(ToUtf8(std::u16string{u'a', char16_t(0xD83D), u'z'}), "a\uFFFDz");
    EXPECT_EQ(ToUtf8(std::u16string{char16_t(0xDE00)}), "\uFFFD");
}

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
