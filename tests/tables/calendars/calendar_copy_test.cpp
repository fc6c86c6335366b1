#include <gmock/gmock.h>

#include "platform/error.h"
#include "tables/calendars/calendars_fixture.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Calendars : public CalendarProcess, public ::testing::Test {
protected:
    // A day and a night into the next day.
    void GivenC1() {
        service.intervals["C1"] = {Interval("C1", "2026-03-02", 800, "2026-03-02", 1730),
                                   Interval("C1", "2026-03-03", 2200, "2026-03-04", 600)};
    }
    // A whole day without a capacity, from before UTC moments are kept.
    void GivenO2() {
        Fields wholeDay = Interval("O'2", "2026-03-05", 0, "2026-03-05", 2400);
        wholeDay["getCumulativeCapacity"] = ""s;
        wholeDay["getStartutcdate"] = At("1970-01-01");
        service.intervals["O'2"] = {wholeDay};
    }
};

class CalendarsOnBothPlatforms : public Calendars,
                                 public ::testing::WithParamInterface<std::pair<Integer, const char*>> {
protected:
    void ExpectGoldenOf(const std::string& kind) {
        ExpectGolden(database, "tcccp030." + kind + "." + GetParam().second + ".txt");
    }
};

TEST_P(CalendarsOnBothPlatforms, SendTheirFullCopysStatements) {
    Given(GetParam().first, {"C1", "O'2"});
    GivenC1();
    GivenO2();
    Copy(1);
    ExpectGoldenOf("full");
}

TEST_P(CalendarsOnBothPlatforms, SendTheirIncrementalCopysStatements) {
    Given(GetParam().first, {"C1", "O'2"});
    GivenC1();
    GivenO2();
    Copy(2);
    ExpectGoldenOf("incremental");
}

TEST_P(CalendarsOnBothPlatforms, SendTheStatementsOfOneCalendar) {
    Given(GetParam().first, {});
    GivenC1();
    tables::CopyCalendar(run, "C1", "run parameter");
    ExpectGoldenOf("run98");
}

TEST_P(CalendarsOnBothPlatforms, SendTheStatementsOfAnEmployeesCalendar) {
    Given(GetParam().first, {});
    GivenC1();
    database.WhenOpened("SELECT * FROM tsmdm140 WHERE emno = N'E''1'",
                        Rows{{"emno", "ccal"}, {{"E'1"s, "C1"s}}});
    tables::CopyEmployeeCalendar(run, "E'1", "run parameter");
    ExpectGoldenOf("run99");
}

INSTANTIATE_TEST_SUITE_P(Platforms, CalendarsOnBothPlatforms,
                         ::testing::Values(std::pair{Integer{1}, "sqlserver"}, std::pair{Integer{2}, "oracle"}));

TEST_F(Calendars, AskTheServiceInThisOrder) {
    Given(1, {});
    service.intervals["C1"] = Intervals("C1", 751);
    tables::CopyCalendar(run, "C1", "run parameter");
    EXPECT_THAT(erp.calls,
                ElementsAre("create Calendars.CalendarManager", "service.Initialize('run parameter')",
                            "service.ListUTCActualCalendarForQRX('C1', 'C1', '', '~~~~~~', '2026-02-02', "
                            "'2038-03-04', 0, 2400, 750, 0, 'N')",
                            "service.ListUTCActualCalendarForQRX('C1', 'C1', '', '~~~~~~', '2026-02-02', "
                            "'2038-03-04', 0, 2400, 750, 40750, 'N')",
                            "service.Close()"));
}

TEST_F(Calendars, RegisterTheServiceWhereThereIsABusinessComponent) {
    Given(1, {});
    process.sharedBusComponent = std::make_shared<FakeObject>("component", &erp.calls);
    tables::CopyCalendar(run, "C1", "run parameter");
    ASSERT_GE(erp.calls.size(), 3U);
    EXPECT_EQ(erp.calls[1], "component.addManager(service)");
    EXPECT_EQ(erp.calls[2], "service.Initialize('run parameter')");
}

TEST_F(Calendars, EndTheirWindowOnTodaysMonthAndDayIn2038) {
    clock.now = At("2028-02-29 12:00:00");
    Given(1, {});
    database.WhenOpened("SELECT * FROM tsparameters", Rows{{"Qrxcal"}, {{Integer{60}}}});
    tables::CopyCalendar(run, "C1", "run parameter");
    EXPECT_THAT(erp.calls, Contains(HasSubstr("'2027-12-31', '2038-02-29'")));
}

struct Paging {
    int intervals;
    std::vector<std::string> listings;
};
class CalendarPaging : public Calendars, public ::testing::WithParamInterface<Paging> {};

TEST_P(CalendarPaging, InsertsEveryIntervalAndHandsTheCallIdsBack) {
    Given(1, {"C1"});
    service.intervals["C1"] = Intervals("C1", GetParam().intervals);
    for (const auto& copy : std::vector<std::function<void()>>{
             [&] { tables::CopyCalendar(run, "C1", ""); }, [&] { tables::CopyCalendarsFull(run, ""); },
             [&] { tables::CopyCalendarsIncremental(run, ""); }}) {
        run.counters = {};
        service.listings.clear();
        database.executed.clear();
        copy();
        EXPECT_EQ(run.counters.inserted, GetParam().intervals);
        EXPECT_EQ(std::ranges::count_if(database.executed, [](auto& sql) { return sql.starts_with("INSERT"); }),
                  GetParam().intervals);
        EXPECT_EQ(service.listings, GetParam().listings);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, CalendarPaging,
                         ::testing::Values(Paging{0, {"C1 750 0 N"}}, Paging{1, {"C1 750 0 N"}},
                                           Paging{749, {"C1 750 0 N"}}, Paging{750, {"C1 750 0 N"}},
                                           Paging{751, {"C1 750 0 N", "C1 750 40750 N"}},
                                           Paging{2250, {"C1 750 0 N", "C1 750 40750 N", "C1 750 41500 N"}}),
                         [](const auto& test) { return std::to_string(test.param.intervals); });

TEST_F(Calendars, WithAnEmptyFirstPageLoseTheirRowsAndGetNone) {
    Given(1, {"C1"});
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tcccp030 WHERE ccal = N'C1'"));
    EXPECT_EQ(Contents(CodesFile()), "C1\n");
}

TEST_F(Calendars, WithoutAFirstPageKeepTheirRows) {
    Given(1, {"C1", "C2"});
    service.withoutPage = {"C1"};
    Copy(2);
    EXPECT_THAT(database.executed, ElementsAre("DELETE FROM tcccp030 WHERE ccal = N'C2'"));
    EXPECT_EQ(Contents(CodesFile()), "C2\n");

    database.executed.clear();
    tables::CopyCalendar(run, "C1", "");
    EXPECT_TRUE(database.executed.empty());
    EXPECT_EQ(erp.calls.back(), "service.Close()");
    EXPECT_THAT(CalendarLog(), Not(HasSubstr("ERP")));
}

TEST_F(Calendars, OfNobodyAreNeitherMarkedNorSwept) {
    Given(1, {});
    Copy(1);
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr("SLBL0375"));
}

TEST_F(Calendars, OfNobodyLeaveAnEmptyCodesFile) {
    Given(1, {});
    Copy(2);
    EXPECT_TRUE(std::filesystem::exists(CodesFile()));
    EXPECT_EQ(Contents(CodesFile()), "");
}

TEST_F(Calendars, OfAFullCopyAreNotWrittenToTheCodesFile) {
    Given(1, {"C1"});
    Copy(1);
    EXPECT_FALSE(std::filesystem::exists(CodesFile()));
}

TEST_F(Calendars, CountWhatTheyInsert) {
    xml.texts["SLBL0375"] = "%1 inserted";
    Given(1, {"C1", "C2"});
    service.intervals["C1"] = Intervals("C1", 2);
    service.intervals["C2"] = Intervals("C2", 3);
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 5);
    EXPECT_THAT(CalendarLog(), HasSubstr("\"tcccp030 -  5 inserted\""));

    tables::CopyCalendar(run, "C1", "");
    EXPECT_EQ(run.counters.inserted, 2);
    EXPECT_THAT(CalendarLog(), HasSubstr("\"tcccp030 -  2 inserted\""));
}

TEST_F(Calendars, DoNothingForAnyOtherMethod) {
    Given(1, {"C1"}, 1);
    Copy(0);
    Copy(3);
    EXPECT_TRUE(database.calls.empty());
    EXPECT_TRUE(erp.calls.empty());
}

TEST_F(Calendars, AreDeletedWithoutATimeLimit) {
    Given(1, {});
    tables::DeleteCalendar(run, "O'2");
    EXPECT_THAT(database.calls,
                ElementsAre("CommandTimeout 0", "Execute DELETE FROM tcccp030 WHERE ccal = N'O''2'"));
}

TEST_F(Calendars, OfAnEmployeeWithoutARowAreNotCopied) {
    Given(1, {});
    tables::CopyEmployeeCalendar(run, "E1", "");
    EXPECT_TRUE(database.executed.empty());
    EXPECT_TRUE(erp.calls.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr("SLBL0050 - Copy Calendar of Employee, employee E1"));
    EXPECT_THAT(CalendarLog(), HasSubstr("There is no such employee"));
}

TEST_F(Calendars, InUseAreListedInTheOrderOfTheStatement) {
    Given(1, {"", "A1", "B2"});
    std::vector<std::string> list;
    tables::getEmployeeCalenderList(run, [&](const std::string& calendar) { list.push_back(calendar); });
    EXPECT_THAT(list, ElementsAre("", "A1", "B2"));
    EXPECT_EQ(database.openRecordsets, 0);
}

TEST_F(Calendars, ThatNobodyUsesLeaveTheListUntouched) {
    Given(1, {});
    tables::getEmployeeCalenderList(run, [](const std::string&) { FAIL() << "added"; });
    EXPECT_THAT(database.calls, ElementsAre(StartsWith("Open "), "Close"));
}

struct Duration {
    platform::Long from, to;
    std::string text;
};
class CalendarDuration : public ::testing::TestWithParam<Duration> {};

TEST_P(CalendarDuration, IsWrittenInHoursAndMinutes) {
    EXPECT_EQ(tables::DurationText(GetParam().from, GetParam().to), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Durations, CalendarDuration,
    ::testing::Values(Duration{830, 800, "-1 Hours 30 Minutes"}, Duration{2200, 600, "-16 Hours 0 Minutes"},
                      Duration{1, 0, "-1 Hours 59 Minutes"}, Duration{0, 0, "0 Hours 0 Minutes"},
                      Duration{2400, 2400, "0 Hours 0 Minutes"}, Duration{800, 859, "0 Hours 59 Minutes"},
                      Duration{800, 900, "1 Hours 0 Minutes"}, Duration{0, 2400, "24 Hours 0 Minutes"},
                      Duration{759, 1701, "9 Hours 2 Minutes"}));

TEST(CalendarDurations, OutsideOf32BitsAreAnOverflow) {
    constexpr platform::Long kLargest = 2147483647;
    EXPECT_THROW(tables::DurationText(-kLargest - 1, kLargest), platform::RuntimeError);
}

}  // namespace
}  // namespace iqrx::testing
