#include <gmock/gmock.h>

#include "control/cls_data_copy.h"
#include "platform/error.h"
#include "tables/calendars/calendars_fixture.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using platform::RuntimeError;
using platform::Value;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

const std::string kSweep = "DELETE FROM tcccp030 WHERE upd_flag = 1";

// Five calendars with two intervals each, of which C3 gives trouble.
class FailingCalendars : public CalendarProcess, public ::testing::Test {
protected:
    FailingCalendars() {
        xml.texts = {{"STIT0023", "Actual Calendars"},
                     {"SLBL0049", "Calendar not copied"},
                     {"SLBL0481", "Calendar not deleted"}};
        for (const std::string code : {"C1", "C2", "C3", "C4", "C5"})
            service.intervals[code] = Intervals(code, 2);
    }
    void GivenFive(Integer tvkparam = 0) { Given(1, {"C1", "C2", "C3", "C4", "C5"}, tvkparam); }

    std::vector<std::string> Inserts() const {
        std::vector<std::string> inserts;
        for (const std::string& sql : database.executed)
            if (sql.starts_with("INSERT")) inserts.push_back(sql);
        return inserts;
    }
};

TEST_F(FailingCalendars, KeepTheirRowsWhileTheOthersAreCopiedWithoutASweep) {
    GivenFive();
    service.failing = "C3";
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 8);
    EXPECT_THAT(Inserts(), Each(Not(HasSubstr("N'C3'"))));
    EXPECT_THAT(database.executed, Not(Contains("DELETE FROM tcccp030 WHERE ccal = N'C3'")));
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
    EXPECT_THAT(CalendarLog(), HasSubstr("Date-Time :2026-03-04 : 05:06:07 Actual Calendars, calendar C3\""));
    EXPECT_THAT(CalendarLog(), HasSubstr("\"ERP\",\"The remote procedure call failed.\""));
    EXPECT_EQ(erp.calls.back(), "service.Close()");
}

TEST_F(FailingCalendars, WithoutAPageKeepTheirRowsWithoutASweepAndWithoutAWord) {
    GivenFive();
    service.withoutPage = {"C3"};
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 8);
    EXPECT_THAT(database.executed, Not(Contains("DELETE FROM tcccp030 WHERE ccal = N'C3'")));
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
    EXPECT_THAT(CalendarLog(), Not(HasSubstr("C3")));
}

TEST_F(FailingCalendars, LeaveAnIncrementalCopyTheCodesOfThoseThatWereCopied) {
    GivenFive();
    service.failing = "C3";
    Copy(2);
    EXPECT_EQ(run.counters.inserted, 8);
    EXPECT_EQ(Contents(CodesFile()), "C1\nC2\nC4\nC5\n");
    EXPECT_THAT(CalendarLog(), HasSubstr("Actual Calendars, calendar C3\""));
}

TEST_F(FailingCalendars, LetThoseThatWereCopiedBeExpanded) {
    GivenFive(1);
    service.failing = "C3";
    Copy(2);
    EXPECT_THAT(database.executed, IsSupersetOf({"DELETE FROM tcccp031 WHERE ccal = N'C1'",
                                                 "DELETE FROM tcccp031 WHERE ccal = N'C2'"}));
    EXPECT_THAT(database.executed, Not(Contains("DELETE FROM tcccp031 WHERE ccal = N'C3'")));
}

TEST_F(FailingCalendars, KeepWhatTheirFirstPagesBrought) {
    GivenFive();
    service.intervals["C3"] = Intervals("C3", 800);
    service.failing = "C3";
    service.failingCallId = 40750;
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 2 + 2 + 750 + 2 + 2);
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
}

TEST_F(FailingCalendars, EndTheRunOfOneCalendar) {
    GivenFive();
    service.failing = "C3";
    tables::CopyCalendar(run, "C3", "");
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr(" Calendar not copied - Copy Calender Of Employee, calendar C3\""));
}

TEST_F(FailingCalendars, EndTheRunOfAnEmployee) {
    GivenFive();
    database.WhenOpened("SELECT * FROM tsmdm140 WHERE emno = N'E1'", Rows{{"ccal"}, {{"C3"s}}});
    service.failing = "C3";
    tables::CopyEmployeeCalendar(run, "E1", "");
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr(" Calendar not copied - Copy Calender Of Employee, calendar C3\""));
}

TEST_F(FailingCalendars, ThatCannotBeListedAreNotSwept) {
    GivenFive();
    database.WhenOpened(kSqlServerList, RuntimeError(17, "server", "deadlock"));
    Copy(1);
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr("\"server\",\"deadlock\""));
}

TEST_F(FailingCalendars, ThatCannotBeDeletedAreReportedAndCopied) {
    GivenFive();
    database.WhenExecuted("DELETE FROM tcccp030 WHERE ccal = N'C3'", RuntimeError(17, "server", "deadlock"));
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 10);
    EXPECT_THAT(database.executed, Contains(kSweep));
    EXPECT_THAT(CalendarLog(), HasSubstr(" Calendar not deleted - Delete Calendar, calendar C3\""));
}

TEST_F(FailingCalendars, AreReportedWithoutTheErpToo) {
    GivenFive();
    erp.onCreateObject = [](auto) -> platform::ObjectRef {
        throw RuntimeError(429, "test", "no calendar service");
    };
    Copy(1);
    Copy(2);
    tables::CopyCalendar(run, "C1", "");
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr("no calendar service"));
}

TEST_F(FailingCalendars, AreCopiedEvenWhereTheirCodesCannotBeWritten) {
    GivenFive();
    std::filesystem::create_directory(CodesFile());
    tables::CopyCalendar(run, "C1", "");
    EXPECT_EQ(run.counters.inserted, 2);
    EXPECT_THAT(CalendarLog(), HasSubstr("Actual Calendars - Calendar Codes File, calendar C1\""));
}

TEST_F(FailingCalendars, WithoutParametersAreNotCopied) {
    GivenFive();
    database.WhenOpened("SELECT * FROM tsparameters", Rows{{"Qrxcal", "tvkparam"}, {}});
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {}});
    Copy(1);
    EXPECT_TRUE(database.executed.empty());
    EXPECT_THAT(CalendarLog(), HasSubstr("\"GetTVKFilter\",\"Could not get the Filter Flag\""));
}

struct BadValue {
    const char* getter;
    Value value;
    std::string name;
};
class BadIntervals : public FailingCalendars, public ::testing::WithParamInterface<BadValue> {};

TEST_P(BadIntervals, AreLoggedAndPassedOver) {
    GivenFive();
    service.intervals["C3"][0].insert_or_assign(GetParam().getter, GetParam().value);

    Copy(1);
    EXPECT_EQ(run.counters.inserted, 9);
    EXPECT_THAT(database.executed, Contains(kSweep)) << "the calendar was listed to its end";
    EXPECT_THAT(CalendarLog(), HasSubstr("Actual Calendars - Insert Calendar Record, calendar C3\""));
    EXPECT_THAT(CalendarLog(), HasSubstr(GetParam().getter));

    run.counters = {};
    Copy(2);
    EXPECT_EQ(run.counters.inserted, 9);
    EXPECT_EQ(Contents(CodesFile()), "C1\nC2\nC3\nC4\nC5\n");

    tables::CopyCalendar(run, "C3", "");
    EXPECT_EQ(run.counters.inserted, 1);
}

INSTANTIATE_TEST_SUITE_P(Values, BadIntervals,
                         ::testing::Values(BadValue{"getStartTime", "noon"s, "StartTimeNoNumber"},
                                           BadValue{"getEndTime", 1e10, "EndTimeTooLarge"},
                                           BadValue{"getEndTime", platform::Null(), "EndTimeNull"},
                                           BadValue{"getStartutcdate", "2026-02-30"s, "StartMomentNoDate"},
                                           BadValue{"getStartDate", platform::Null(), "StartDateNull"},
                                           BadValue{"getCalendar", platform::Null(), "CalendarNull"},
                                           BadValue{"getCumulativeCapacity", platform::Null(), "CapacityNull"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(FailingCalendars, WriteAMissingMomentAsNull) {
    GivenFive();
    service.intervals["C3"][0].insert_or_assign("getEndutcdate", platform::Null());
    Copy(1);
    EXPECT_EQ(run.counters.inserted, 10);
    EXPECT_THAT(Inserts(), Contains(AllOf(HasSubstr("N'C3'"), HasSubstr("',120),NULL,N'"))));
    EXPECT_THAT(CalendarLog(), Not(HasSubstr("Date-Time")));
}

// With a connection that is gone no further interval would go through, and each would be a line in the log.
TEST_F(FailingCalendars, EndWithTheConnection) {
    GivenFive();
    int inserts = 0;
    database.WhenExecutedBeginning("INSERT INTO tcccp030", std::function<platform::Long()>([&] {
                                       if (++inserts > 2) database.LoseConnection();
                                       return 1;
                                   }));
    Copy(1);
    EXPECT_EQ(inserts, 3);
    EXPECT_EQ(run.counters.inserted, 2);
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
}

TEST_F(FailingCalendars, EndWithTheWritesThatAreLost) {
    GivenFive();
    int inserts = 0;
    database.WhenExecutedBeginning("INSERT INTO tcccp030",
                                   std::function<platform::Long()>([&]() -> platform::Long {
                                       if (++inserts > 2) throw platform::WritesLost(13, "db", "disk full");
                                       return 1;
                                   }));
    Copy(1);
    EXPECT_EQ(inserts, 3);
    EXPECT_THAT(database.executed, Not(Contains(kSweep)));
}

TEST_F(FailingCalendars, AreClosedWhenTheirFailureIsLogged) {
    GivenFive();
    database.WhenOpened(kSqlServerList, RuntimeError(17, "server", "deadlock"));
    std::string logWhenClosed = "never closed";
    service.onClose = [&] { logWhenClosed = CalendarLog(); };
    Copy(1);
    EXPECT_THAT(logWhenClosed, HasSubstr("deadlock"));
}

TEST_F(FailingCalendars, WithALineBreakInTheirCodeAreNotListedForTheExpansion) {
    Given(1, {"C1", "C2\r\nC9", "C3"});
    service.intervals["C2\r\nC9"] = Intervals("C2\r\nC9", 2);
    Copy(2);
    EXPECT_EQ(run.counters.inserted, 6);
    EXPECT_EQ(Contents(CodesFile()), "C1\nC3\n");
    EXPECT_THAT(CalendarLog(), HasSubstr("Calendar Codes File, calendar C2\\x0D\\x0AC9\""));
    EXPECT_THAT(CalendarLog(), HasSubstr("a calendar code with a line break"));
}

// The outcomes of requests through the driver, by their events.
struct RecordedEvents : control::DataCopyEvents {
    std::vector<std::string> events;
    void DataCopyStarted(platform::Date, Integer) override { events.push_back("started"); }
    void DataCopyError(platform::Date, Integer, Integer, const std::string&) override {
        events.push_back("error");
    }
    void DataCopyComplete(platform::Date, Integer, platform::Long inserted, platform::Long,
                          platform::Long) override {
        events.push_back("complete " + std::to_string(inserted));
    }
    void DataCopyAlreadyInProgress(platform::Date, Integer) override { events.push_back("in progress"); }
    void DataCopydone() override { events.push_back("done"); }
};

struct RunKind {
    Integer tableId, syncMethod;
    std::string name;
    int inserted;
};
class FailingCalendarRuns : public FailingCalendars, public ::testing::WithParamInterface<RunKind> {};

TEST_P(FailingCalendarRuns, EndWithTheirNormalOutcome) {
    GivenFive(1);
    database.WhenOpened("SELECT * FROM tsmdm140 WHERE emno = N'E1'", Rows{{"ccal"}, {{"C3"s}}});
    database.WhenOpened(
        "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c where "
        "a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label",
        Rows{{"ERPTableID", "tableid", "tablename", "text"},
             {{"tcccp030"s, Integer{18}, "tcccp030"s, "Actual Calendars"s}}});
    process.catalog.LoadTableCatalog(database, "test", "", 1, "SYNC");
    service.failing = "C3";

    RecordedEvents events;
    constexpr control::TableRoutine kTables[] = {{"tcccp030", tables::CopyCalendars}};
    control::clsDataCopy job(
        process, kTables, {tables::CopyEmployeeCalendar, tables::CopyCalendar, tables::ExpandListedCalendars},
        events);
    control::CopyRequest request;
    request.connectionString = "test";
    request.tableId = GetParam().tableId;
    request.syncMethod = GetParam().syncMethod;
    request.logFilePath = directory.path.string();
    request.calendarParameter = request.tableId == control::kCalendarOfOne ? "C3" : "E1";
    request.statusKey = 0;
    job.StartDataCopy(request);

    EXPECT_THAT(events.events,
                ::testing::ElementsAre("started", "complete " + std::to_string(GetParam().inserted), "done"));
    const std::string log = GetParam().tableId == 98 ? "_20260304.log" : "tcccp030_20260304.log";
    EXPECT_THAT(Contents(directory.path / log), HasSubstr("calendar C3\""));
}

INSTANTIATE_TEST_SUITE_P(Runs, FailingCalendarRuns,
                         ::testing::Values(RunKind{18, 1, "Full", 8}, RunKind{18, 2, "Incremental", 8},
                                           RunKind{98, 1, "OneCalendar", 0}, RunKind{99, 1, "Employee", 0}),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace iqrx::testing
