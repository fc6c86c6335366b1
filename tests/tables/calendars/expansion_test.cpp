#include <gmock/gmock.h>

#include <fstream>

#include "platform/error.h"
#include "tables/calendars/calendars_fixture.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string kSource = "select * from tcccp030";
const std::string kTarget = "select * from tcccp031 WHERE  1=0";

std::string SourceOf(const std::string& literal) { return "select * from tcccp030 WHERE  ccal=" + literal; }

const LocalInterval kThreeDays{"C1", "2009-05-07", "2009-05-09", "2009-05-07 08:00:00", "2009-05-09 17:00:00"};
const LocalInterval kOneDay{"C1", "2009-05-11", "2009-05-11", "2009-05-11 08:00:00", "2009-05-11 17:00:00"};
const LocalInterval kEndsBefore{"O'2", "2009-05-13", "2009-05-12", "2009-05-12 22:00:00",
                                "2009-05-12 21:00:00"};

class CalendarExpansion : public CalendarProcess, public ::testing::Test {
protected:
    std::vector<std::string> RowsAdded() const {
        std::vector<std::string> rows;
        for (const std::string& call : database.calls)
            if (call.starts_with("Update ")) rows.push_back(call.substr(7));
        return rows;
    }
    std::vector<std::string> Expanded(const LocalInterval& interval) {
        Given(1, {});
        database.WhenOpened(kSource, LocalRows({interval}));
        tables::ExpandCalendars(run);
        return RowsAdded();
    }
    void GivenCodes(const std::string& lines) { std::ofstream(CodesFile(), std::ios::binary) << lines; }
};

class ExpansionOnBothPlatforms : public CalendarExpansion,
                                 public ::testing::WithParamInterface<std::pair<Integer, const char*>> {
protected:
    void ExpectGoldenOf(const std::string& kind) {
        ExpectGolden(database, "tcccp030." + kind + "." + GetParam().second + ".txt");
    }
};

TEST_P(ExpansionOnBothPlatforms, SendsTheStatementsOfTheWholeTable) {
    Given(GetParam().first, {});
    database.WhenOpened(kSource, LocalRows({kThreeDays, kOneDay, kEndsBefore}));
    tables::ExpandCalendars(run);
    ExpectGoldenOf("expansion");
}

TEST_P(ExpansionOnBothPlatforms, SendsTheStatementsOfTheListedCalendars) {
    Given(GetParam().first, {});
    GivenCodes("C1\r\nO'2\r\n");
    database.WhenOpened(SourceOf("N'C1'"), LocalRows({kThreeDays, kOneDay}));
    database.WhenOpened(SourceOf("N'O''2'"), LocalRows({kEndsBefore}));
    tables::ExpandListedCalendars(run);
    ExpectGoldenOf("listed-expansion");
}

INSTANTIATE_TEST_SUITE_P(Platforms, ExpansionOnBothPlatforms,
                         ::testing::Values(std::pair{Integer{1}, "sqlserver"}, std::pair{Integer{2}, "oracle"}));

TEST_F(CalendarExpansion, CutsAcrossAMonthAndALeapDay) {
    EXPECT_THAT(Expanded({"C1", "2028-02-28", "2028-03-01", "2028-02-28 07:00:00", "2028-03-01 16:00:00"}),
                ElementsAre(R"(["C1","A","2028-02-28 07:00:00","2028-02-28 16:00:00"])",
                            R"(["C1","A","2028-02-29 07:00:00","2028-02-29 16:00:00"])",
                            R"(["C1","A","2028-03-01 07:00:00","2028-03-01 16:00:00"])"));
}

TEST_F(CalendarExpansion, CutsAcrossAMonthOfAYearWithoutALeapDay) {
    EXPECT_THAT(Expanded({"C1", "2026-02-28", "2026-03-01", "2026-02-28 07:00:00", "2026-03-01 16:00:00"}),
                ElementsAre(R"(["C1","A","2026-02-28 07:00:00","2026-02-28 16:00:00"])",
                            R"(["C1","A","2026-03-01 07:00:00","2026-03-01 16:00:00"])"));
}

TEST_F(CalendarExpansion, CountsLocalDaysAndCutsUtcMoments) {
    EXPECT_THAT(Expanded({"C1", "2026-03-02", "2026-03-03", "2026-03-01 23:00:00", "2026-03-02 08:00:00"}),
                ElementsAre(R"(["C1","A","2026-03-01 23:00:00","2026-03-01 08:00:00"])",
                            R"(["C1","A","2026-03-02 23:00:00","2026-03-02 08:00:00"])"));
}

TEST_F(CalendarExpansion, LeavesAnIntervalOfNoDaysAsItIs) {
    EXPECT_THAT(Expanded(kOneDay), ElementsAre(R"(["C1","A","2009-05-11 08:00:00","2009-05-11 17:00:00"])"));
}

TEST_F(CalendarExpansion, LeavesAnEndBeforeItsStartAsItIs) {
    EXPECT_THAT(Expanded(kEndsBefore),
                ElementsAre(R"(["O'2","A","2009-05-12 22:00:00","2009-05-12 21:00:00"])"));
}

TEST_F(CalendarExpansion, OpensItsRecordsetsToReadForwardAndToAddTo) {
    Given(1, {});
    tables::ExpandCalendars(run);
    EXPECT_THAT(database.calls, ElementsAre("Open " + kSource + " 0 3", "Execute truncate table tcccp031 ",
                                            "Open " + kTarget + " 1 3", "Close", "Close"));
    EXPECT_THAT(CalendarLog(), HasSubstr("SLBL0375"));
}

TEST_F(CalendarExpansion, OfListedCalendarsDeletesWithoutATimeLimit) {
    Given(1, {});
    GivenCodes("C1\r\n");
    tables::ExpandListedCalendars(run);
    EXPECT_THAT(database.calls, ElementsAre("Open " + SourceOf("N'C1'") + " 0 3", "CommandTimeout 0",
                                            "Execute DELETE FROM tcccp031 WHERE ccal = N'C1'",
                                            "Open " + kTarget + " 1 3", "Close", "Close"));
}

TEST_F(CalendarExpansion, DeletesAListedCalendarWithoutRowsAndGoesOn) {
    Given(1, {});
    GivenCodes("C0\r\nC1\r\n");
    database.WhenOpened(SourceOf("N'C1'"), LocalRows({kOneDay}));
    tables::ExpandListedCalendars(run);
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tcccp031 WHERE ccal = N'C0'",
                                               "DELETE FROM tcccp031 WHERE ccal = N'C1'"));
    EXPECT_EQ(RowsAdded().size(), 1U);
}

TEST_F(CalendarExpansion, OfACalendarListedTwiceEndsWithOneSetOfRows) {
    Given(1, {});
    GivenCodes("C1\r\nC1\r\n");
    database.WhenOpened(SourceOf("N'C1'"), LocalRows({kThreeDays}));
    auto expanded = std::make_shared<Rows>(Rows{{"ccal", "ract", "ustm", "uftm"}, {}});
    database.WhenOpened(kTarget, expanded);
    database.WhenExecuted("DELETE FROM tcccp031 WHERE ccal = N'C1'", std::function<std::int32_t()>([&] {
                              const auto deleted = static_cast<std::int32_t>(expanded->rows.size());
                              expanded->rows.clear();
                              return deleted;
                          }));
    tables::ExpandListedCalendars(run);
    EXPECT_EQ(RowsAdded().size(), 6U);
    EXPECT_EQ(expanded->rows.size(), 3U);
}

TEST_F(CalendarExpansion, OfAnEmptyCodesFileDoesNothing) {
    Given(1, {});
    GivenCodes("");
    tables::ExpandListedCalendars(run);
    EXPECT_TRUE(database.calls.empty());
}

TEST_F(CalendarExpansion, WithoutACodesFileDoesNothing) {
    Given(1, {});
    tables::ExpandListedCalendars(run);
    EXPECT_TRUE(database.calls.empty());
}

TEST_F(CalendarExpansion, ReportsTheCalendarOfARowThatItCannotRead) {
    Given(1, {});
    Rows rows = LocalRows({kOneDay, kEndsBefore});
    rows.rows[1][4] = platform::Null();
    database.WhenOpened(kSource, rows);
    tables::ExpandCalendars(run);
    EXPECT_EQ(RowsAdded().size(), 1U);
    EXPECT_THAT(CalendarLog(), HasSubstr("STIT0023 - Expand Calendars, calendar O'2\""));
    EXPECT_EQ(database.openRecordsets, 0);
}

TEST_F(CalendarExpansion, ReportsAFailedDeletionAndExpands) {
    Given(1, {});
    GivenCodes("C1\r\n");
    database.WhenOpened(SourceOf("N'C1'"), LocalRows({kOneDay}));
    database.WhenExecuted("DELETE FROM tcccp031 WHERE ccal = N'C1'",
                          platform::RuntimeError(17, "server", "locked"));
    tables::ExpandListedCalendars(run);
    EXPECT_EQ(RowsAdded().size(), 1U);
    EXPECT_THAT(CalendarLog(), HasSubstr("SLBL0481 - Delete Calendar, calendar C1\""));
}

TEST_F(CalendarExpansion, FollowsAFullCopyWhereTheParametersAskForIt) {
    Given(1, {"C1"}, 1);
    Copy(1);
    EXPECT_THAT(database.executed, Contains("truncate table tcccp031 "));
}

TEST_F(CalendarExpansion, OfTheCopiedCalendarsFollowsAnIncrementalCopyWhereTheParametersAskForIt) {
    Given(1, {"C1"}, 1);
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tcccp030 WHERE ccal = N'C1'",
                                               "DELETE FROM tcccp031 WHERE ccal = N'C1'"));
}

class ExpansionUnasked : public CalendarExpansion, public ::testing::WithParamInterface<platform::Value> {};

TEST_P(ExpansionUnasked, FollowsNoCopy) {
    Given(1, {"C1"});
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{GetParam()}}});
    Copy(1);
    Copy(2);
    for (const std::string& call : database.calls)
        EXPECT_EQ(call.find("tcccp031"), std::string::npos) << call;
}

INSTANTIATE_TEST_SUITE_P(Parameters, ExpansionUnasked,
                         ::testing::Values(platform::Value(Integer{0}), platform::Value(Integer{2}),
                                           platform::Value(platform::Null())));

TEST_F(CalendarExpansion, FindsTheCodesFileByLogNameAndInstanceNumber) {
    process.runLog.SetLogFileName("logs/tcccp030_20090507.log");
    process.settings.currentInstanceNumber = 2;
    EXPECT_EQ(tables::CalcodesFilePath(run), "logs/tcccp0302_calcodes.txt");
    process.settings.currentInstanceNumber = 0;
    EXPECT_EQ(tables::CalcodesFilePath(run), "logs/tcccp0300_calcodes.txt");
}

TEST_F(CalendarExpansion, WritesCodesAsLinesThatEndInCrLf) {
    Given(1, {});
    tables::CreateCalcodesFile(run);
    tables::WriteCalcode(run, "C1"s);
    tables::WriteCalcode(run, Integer{7});
    tables::CloseCalcodesFile(run);
    std::ifstream file(CodesFile(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "C1\r\n7\r\n");
}

TEST_F(CalendarExpansion, StartsAFreshCodesFile) {
    Given(1, {});
    GivenCodes("C9\r\n");
    tables::CreateCalcodesFile(run);
    tables::CloseCalcodesFile(run);
    EXPECT_EQ(Contents(CodesFile()), "");
}

TEST_F(CalendarExpansion, ReportsACodeThatHasNoFile) {
    Given(1, {});
    tables::WriteCalcode(run, "C1"s);
    EXPECT_THAT(CalendarLog(), HasSubstr("STIT0023 - Calendar Codes File, calendar C1\""));
}

}  // namespace
}  // namespace iqrx::testing
