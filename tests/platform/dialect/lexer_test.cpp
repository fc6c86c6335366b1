#include "platform/dialect/lexer.h"

#include <gmock/gmock.h>

#include "platform/error.h"

namespace iqrx::platform::dialect {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr Grammar kGrammar{
    .product = "Database", .place = "?", .empty = "DELETE FROM", .statistics = "ANALYZE"};

// Literals as texts: whole numbers 5, real numbers 5.5r, texts 'x', NULL.
std::vector<std::string> LiteralsOf(std::string_view text) {
    Literals literals(kGrammar);
    Tokenize(text, literals);
    std::vector<std::string> result;
    for (const Literal& literal : literals.Items()) {
        switch (literal.Is()) {
            case Literal::Kind::Null:
                result.push_back("NULL");
                break;
            case Literal::Kind::Whole:
                result.push_back(std::to_string(literal.WholeNumber()));
                break;
            case Literal::Kind::Real:
                result.push_back(std::to_string(literal.RealNumber()) + "r");
                break;
            default:
                result.push_back("'" + std::string(literal.TextValue()) + "'");
        }
    }
    return result;
}

std::string ErrorOf(std::string_view text) {
    try {
        LiteralsOf(text);
        return "";
    } catch (const RuntimeError& error) {
        return error.description;
    }
}

bool SameShape(std::string_view first, std::string_view second) {
    Literals literals(kGrammar);
    const std::string shape = ShapeOf(first, Tokenize(first, literals));
    return ShapeOf(second, Tokenize(second, literals)) == shape;
}

TEST(Literals, AreTextsWithQuotesUndoubled) {
    EXPECT_THAT(LiteralsOf("VALUES(N'O''Brien','plain',N'',N'''')"),
                ElementsAre("'O'Brien'", "'plain'", "''", "'''"));
}

TEST(Literals, AreNumbersWholeAndReal) {
    EXPECT_THAT(LiteralsOf("VALUES(12,2.5,.5,1E+15,-7,99999999999999999999)"),
                ElementsAre("12", "2.500000r", "0.500000r", "1000000000000000.000000r", "7",
                            "100000000000000000000.000000r"));
}

TEST(Literals, EndWhereAWordFollowsANumberWithoutABlank) {
    EXPECT_THAT(LiteralsOf("in_use = 1WHERE tablename = N'x'"), ElementsAre("1", "'x'"));
    EXPECT_THAT(LiteralsOf("oseq= 5IF(iCount) = 0 THEN"), ElementsAre("5", "0"));
    EXPECT_THAT(LiteralsOf("a = 1ELSE"), ElementsAre("1"));
}

TEST(Literals, AreNotTheDigitsOfNames) { EXPECT_THAT(LiteralsOf("tsmdm030.ccal t1.a2"), ElementsAre()); }

TEST(Literals, OfConvertAreDateTimes) {
    EXPECT_THAT(LiteralsOf("CONVERT(DATETIME,'2009-05-07 08:00:00',120)"),
                ElementsAre("'2009-05-07 08:00:00'"));
    EXPECT_THAT(LiteralsOf("CONVERT(DATETIME,'2009-5-7 8:00:00',120)"), ElementsAre("'2009-05-07 08:00:00'"));
    EXPECT_THAT(LiteralsOf("convert( datetime , '2009-05-07' , 120 )"), ElementsAre("'2009-05-07 00:00:00'"));
}

TEST(Literals, OfAnEmptyDateAreTheServersZeroDateWithConvertAndNullWithToDate) {
    EXPECT_THAT(LiteralsOf("CONVERT(DATETIME,'',120)"), ElementsAre("'1900-01-01 00:00:00'"));
    EXPECT_THAT(LiteralsOf("TO_DATE( '','yyyy-mm-dd HH24:MI:SS')"), ElementsAre("NULL"));
}

TEST(Literals, OfToDateAreDatesInBothFormats) {
    EXPECT_THAT(LiteralsOf("TO_DATE( '2009-05-07 08:00:00','yyyy-mm-dd HH24:MI:SS')"),
                ElementsAre("'2009-05-07 08:00:00'"));
    EXPECT_THAT(LiteralsOf("TO_DATE('2009/05/07','yyyy/mm/dd'),TO_DATE('2009-05-07','yyyy/mm/dd')"),
                ElementsAre("'2009-05-07 00:00:00'", "'2009-05-07 00:00:00'"));
    EXPECT_THAT(ErrorOf("TO_DATE('07.05.2009','dd.mm.yyyy')"),
                HasSubstr("date format is not known at \"'dd.mm.yyyy'"));
}

TEST(Literals, OfDatesThatDoNotExistAreErrors) {
    for (const char* date :
         {"2009-02-30 00:00:00", "2009-13-01 00:00:00", "2009-05-07 24:00:00", "2009-05-07 08:60:00", "x",
          "2009-05-07 08:00:00 ", "0000-01-01 00:00:00", "09-05-07 08:00:00"})
        EXPECT_THAT(ErrorOf("CONVERT(DATETIME,'" + std::string(date) + "',120)"),
                    HasSubstr("not a date and time at \"'" + std::string(date)))
            << date;
}

TEST(Literals, IncludeNullWhereAValueStandsOnly) {
    EXPECT_THAT(LiteralsOf("SET finishtime = NULL WHERE a IS NULL OR b is NOT NULL"), ElementsAre("NULL"));
}

TEST(Literals, ThatAreNotClosedAreErrorsThatNameThePlace) {
    EXPECT_THAT(ErrorOf("UPDATE t SET a = N'x"), HasSubstr("not closed at \"'x\" (character 19)"));
}

TEST(Shapes, AreTheSameForTextsThatDifferInLiteralsAlone) {
    EXPECT_TRUE(SameShape("UPDATE t SET a = N'x', b = 5, c = NULL WHERE k = N'1'",
                          "UPDATE t SET a = N'it''s', b = 1.5, c = CONVERT(DATETIME,'',120) WHERE k = N''"));
    EXPECT_FALSE(SameShape("UPDATE t SET a = N'x'", "UPDATE t SET b = N'x'"));
    EXPECT_FALSE(SameShape("UPDATE t SET a = N'x'", "UPDATE t SET a = N'x' WHERE k = 1"));
    EXPECT_FALSE(SameShape("UPDATE t SET a = N'x' WHERE k = 1", "UPDATE t SET a = N'x'"));
}

TEST(Shapes, DoNotTakeTheRestOfANameForALiteral) {
    EXPECT_FALSE(SameShape("INSERT INTO t VALUES'x'", "INSERT INTO t VALUES12"));
    EXPECT_FALSE(SameShape("SELECT * FROM t'x'", "SELECT * FROM t.5"));
}

}  // namespace
}  // namespace iqrx::platform::dialect
