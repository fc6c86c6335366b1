#include "engine/conversions.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using namespace engine;
using platform::Byte;
using platform::Integer;
using platform::Long;
using platform::Null;
using platform::Single;
using platform::Value;

class Conversions : public TestProcess, public ::testing::Test {
protected:
    std::string Written(const Conversion& conversion, const Value& value, Integer databasePlatform = 1) {
        const runtime::SqlLiterals literals(process.machine, runtime::DialectOf(databasePlatform));
        KeptValues kept;
        std::string sql;
        conversion.make(value, literals, kept).AppendTo(sql);
        return sql;
    }
    std::int32_t ErrorOf(const Conversion& conversion, const Value& value) {
        try {
            Written(conversion, value);
        } catch (const platform::RuntimeError& error) {
            return error.number;
        }
        return 0;
    }
};

TEST_F(Conversions, WriteEachKindInItsOwnWay) {
    struct Case {
        const char* kind;
        Conversion conversion;
        Value value;
        std::string literal;
    };
    const Case cases[] = {
        {"text", kText, "O'Hara"s, "N'O''Hara'"},
        {"text", kText, ""s, "N''"},
        {"text", kText, Integer{7}, "N'7'"},
        {"quoted whole", kQuotedWhole, Integer{-10}, "N'-10'"},
        {"yes/no", kYesNo, Long{0}, "0"},
        {"yes/no", kYesNo, Long{1}, "1"},
        {"yes/no", kYesNo, Long{2}, "0"},
        {"yes/no", kYesNo, Byte{255}, "0"},
        {"yes/no", kYesNo, true, "0"},  // -1 to automation
        {"yes/no", kYesNo, "1"s, "1"},
        {"real", kReal, 0.123456789012345, "0.123456789012345"},
        {"real", kReal, 123456789012345.0, "123456789012345"},
        {"real", kReal, 0.1 + 0.2, "0.3"},
        {"real", kReal, -12.5, "-12.5"},
        {"real", kReal, 0.000000000001, "0.000000000001"},
        {"real", kReal, 1e-20, "1E-20"},
        {"real", kReal, 1.5e300, "1.5E+300"},
        {"real", kReal, Long{5}, "5"},
        {"period", kPeriod, 0.125, "0.12"},
        {"period", kPeriod, 0.375, "0.38"},
        {"period", kPeriod, -0.125, "-0.12"},
        {"period", kPeriod, 30.004, "30"},
        {"period", kPeriod, Single{1440.5}, "1440.5"},
        {"period in the locale's form", kPeriodInLocale, 90.375, "90.38"},
        {"raw", kRaw, Byte{3}, "3"},
        {"raw", kRaw, "abc"s, "abc"},
        {"byte", kByte, Integer{255}, "255"},
        {"16 bits", kWhole16, Long{-32768}, "-32768"},
        {"UTC date", kUtcDate, At("2026-03-04 05:06:07"), "CONVERT(DATETIME,'2026-03-04 04:06:07',120)"},
        {"UTC date", kUtcDate, At("1970-01-01 00:00:00"), "NULL"},
        {"empty text", kEmptyText, "ignored"s, "N''"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Written(each.conversion, each.value), each.literal) << each.kind << ' ' << Shown(each.value);
}

TEST_F(Conversions, WriteAnEmptyTextAsABlankOnOracle) {
    EXPECT_EQ(Written(kText, ""s, 2), "N' '");
    EXPECT_EQ(Written(kEmptyText, "ignored"s, 2), "N' '");
}

TEST_F(Conversions, RefuseNullInEveryKindThatAsksButTheDate) {
    for (const Conversion& conversion :
         {kText, kQuotedWhole, kYesNo, kReal, kPeriod, kPeriodInLocale, kRaw, kByte, kWhole16})
        EXPECT_EQ(ErrorOf(conversion, Null{}), platform::kInvalidUseOfNull);
    EXPECT_EQ(Written(kUtcDate, Null{}), "NULL");
    EXPECT_EQ(Written(kEmptyText, Null{}), "N''");
}

TEST_F(Conversions, RefuseNumbersOutsideTheirRange) {
    EXPECT_EQ(ErrorOf(kByte, Integer{256}), platform::kOverflow);
    EXPECT_EQ(ErrorOf(kWhole16, Long{32768}), platform::kOverflow);
    EXPECT_EQ(ErrorOf(kYesNo, 3e9), platform::kOverflow);
}

TEST_F(Conversions, WriteAPointWhereTheUsersLocaleHasACommaButInAPeriodOfTheLocale) {
    locale.separator = ",";
    EXPECT_EQ(Written(kReal, -12.5), "-12.5");
    EXPECT_EQ(Written(kReal, 1.5e300), "1.5E+300");
    EXPECT_EQ(Written(kPeriod, 30.125), "30.12");
    EXPECT_EQ(Written(kPeriodInLocale, 30.125), "30,12");
}

}  // namespace
}  // namespace iqrx::testing
