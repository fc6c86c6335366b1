#include "runtime/sql_literals.h"

#include <gtest/gtest.h>

#include "platform/conversions.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using runtime::SqlLiterals;

std::string Written(const std::optional<platform::Literal>& literal) {
    std::string sql;
    literal.value().AppendTo(sql);
    return sql;
}

class Literals : public TestProcess, public ::testing::Test {
protected:
    SqlLiterals sqlServer{process.machine, runtime::DialectOf(runtime::kSqlServer)};
    SqlLiterals oracle{process.machine, runtime::DialectOf(runtime::kOracle)};
};

TEST_F(Literals, DoubleApostrophesOnBothPlatforms) {
    for (const auto* literals : {&sqlServer, &oracle}) {
        EXPECT_EQ(Written(literals->QuoteSqlString("O'Neill")), "N'O''Neill'");
        EXPECT_EQ(Written(literals->QuoteSqlString("'")), "N''''");
        EXPECT_EQ(Written(literals->QuoteSqlString("''x'")), "N'''''x'''");
    }
}

TEST_F(Literals, WriteAnEmptyTextAsOneBlankOnOracleAlone) {
    EXPECT_EQ(Written(sqlServer.QuoteSqlString("")), "N''");
    EXPECT_EQ(Written(oracle.QuoteSqlString("")), "N' '");
}

TEST_F(Literals, TreatEveryOtherPlatformAsSqlServer) {
    const SqlLiterals other{process.machine, runtime::DialectOf(3)};
    EXPECT_EQ(Written(other.QuoteSqlString("")), "N''");
    EXPECT_EQ(Written(other.WrapDateLiteral("x")), "CONVERT(DATETIME,'x',120)");
}

TEST_F(Literals, WrapDatesTheEmptyTextIncluded) {
    EXPECT_EQ(Written(sqlServer.WrapDateLiteral("2009-5-7")), "CONVERT(DATETIME,'2009-5-7',120)");
    EXPECT_EQ(Written(sqlServer.WrapDateLiteral(runtime::GetSyncTimeText())), "CONVERT(DATETIME,'',120)");
    EXPECT_EQ(Written(oracle.WrapDateLiteral("2009-5-7")), "TO_DATE( '2009-5-7','yyyy-mm-dd HH24:MI:SS')");
    EXPECT_EQ(Written(oracle.WrapDateLiteral(runtime::GetSyncTimeText())),
              "TO_DATE( '','yyyy-mm-dd HH24:MI:SS')");
}

TEST_F(Literals, GiveNoUtcDateForNullTheEpochAndWhatIsNoDate) {
    EXPECT_FALSE(sqlServer.UtcDateLiteral(platform::Null{}));
    EXPECT_FALSE(sqlServer.UtcDateLiteral(platform::Empty{}));
    EXPECT_FALSE(sqlServer.UtcDateLiteral(At("1970-01-01 00:00:00")));
    EXPECT_FALSE(sqlServer.UtcDateLiteral(At("1969-12-31 23:59:59")));
    EXPECT_FALSE(sqlServer.UtcDateLiteral("yesterday"s));
    EXPECT_EQ(Written(sqlServer.UtcDateLiteral(At("1970-01-01 00:00:01"))),
              "CONVERT(DATETIME,'1969-12-31 23:00:01',120)");
}

TEST_F(Literals, ConvertToUtcByTheStandardOffsetInSummerToo) {
    timeZone.bias = -60;
    EXPECT_EQ(Written(sqlServer.UtcDateLiteral(At("2009-07-01 12:00:00"))),
              "CONVERT(DATETIME,'2009-07-01 11:00:00',120)");
    EXPECT_EQ(Written(sqlServer.UtcDateLiteral(At("2009-01-01 00:30:00"))),
              "CONVERT(DATETIME,'2008-12-31 23:30:00',120)");
    timeZone.bias = 300;
    EXPECT_EQ(Written(oracle.UtcDateLiteral(At("2009-07-01 20:00:00"))),
              "TO_DATE( '2009-07-02 01:00:00','yyyy-mm-dd HH24:MI:SS')");
}

TEST_F(Literals, TakeThePresentTimeUnconverted) {
    EXPECT_EQ(Written(sqlServer.CurrentTimeLiteral()), "CONVERT(DATETIME,'2026-03-04 05:06:07',120)");
}

TEST_F(Literals, WriteNumbersWithAPointWhateverTheLocale) {
    for (const char* separator : {".", ",", "\xD9\xAB"}) {
        locale.separator = separator;
        EXPECT_EQ(Written(sqlServer.FormatDecimal(-1234.5)), "-1234.5");
        EXPECT_EQ(Written(sqlServer.FormatDecimal(0)), "0");
        EXPECT_EQ(Written(sqlServer.FormatDecimal(2.0 / 3)), "0.666666666666667");
    }
    locale.separator = ",";
    EXPECT_EQ(sqlServer.LocaleText(1.5), "1,5");
}

TEST(IsoDateTimes, PadEveryPartButTheYear) {
    EXPECT_EQ(runtime::FormatIsoDateTime(At("2009-05-07 08:09:01")), "2009-05-07 08:09:01");
    EXPECT_EQ(runtime::FormatIsoDateTime(At("0987-12-31 23:59:59")), "987-12-31 23:59:59");
}

TEST(MaxKeyStrings, AreCharactersOfCode127) {
    EXPECT_EQ(runtime::MaxKeyString(3), "\x7f\x7f\x7f");
    EXPECT_EQ(runtime::MaxKeyString(0), "");
}

}  // namespace
}  // namespace iqrx::testing
