// Calendars from an extract into the embedded database, the way an administrator meets them.
#include <gmock/gmock.h>

#include <fstream>

#include "platform/conversions.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/extract_erps.h"
#include "support/test_process.h"
#include "tables/calendars/calendars.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct EmbeddedDatabase : platform::DatabaseProvider {
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view) override {
        return platform::CreateSqliteConnection({});
    }
};

class CalendarRuns : public ::testing::Test {
protected:
    // Employees E1 and E2 with calendars C1 and C2, a center with C1; 30 days of history before 2026-03-04.
    CalendarRuns() {
        const auto file = machine.directory.path / "local.db";
        std::ifstream schema(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql");
        platform::ApplySqliteScript(file, std::string(std::istreambuf_iterator<char>(schema), {}) + R"(
            INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,1);
            INSERT INTO tsmdm140(emno,ccal) VALUES('E1','C1'),('E2','C2');
            INSERT INTO tsmdm100(cwoc,ccal) VALUES('W1','C1');
            INSERT INTO tcccp030(ccal,ract,upd_flag) VALUES('GONE','A',0);)");
        process.database.OpenDatabase("Provider=SQLite;Data Source=" + file.string(), "");
        process.runLog.SetLogFileName((machine.directory.path / "tcccp030_20260304.log").string());
        process.runLog.KeepErrors(process.database.LastErrors());
    }

    void GivenIntervals(const std::string& rows) {
        std::ofstream(machine.directory.path / "calendars.csv")
            << "calendar,availability_type,start_date,start_time,end_date,end_time,cumulative_time,"
               "cumulative_capacity,start_utc,end_utc\n"
            << rows;
    }
    void Copy(platform::Integer syncMethod) {
        control::CopyRun run(process);
        tables::CopyCalendars({run, "tcccp030", machine.directory.path.string(), syncMethod});
    }
    std::vector<std::string> Rows(const std::string& sql) {
        std::vector<std::string> lines;
        for (auto rows = process.database.OpenRecordset(sql); !rows->Eof(); rows->MoveNext())
            lines.push_back(platform::ToText(rows->Field(0)) + " " + platform::ToText(rows->Field(1)) + " " +
                            platform::ToText(rows->Field(2)));
        return lines;
    }
    std::vector<std::string> Intervals() {
        return Rows("SELECT ccal, ustm, ahrs FROM tcccp030 ORDER BY ccal, ustm");
    }
    std::vector<std::string> Days() {
        return Rows("SELECT ccal, ustm, uftm FROM tcccp031 ORDER BY ccal, ustm");
    }
    std::string Log() const { return Contents(machine.directory.path / "tcccp030_20260304.log"); }

    TestProcess machine;  // an hour east of Greenwich
    EmbeddedDatabase databases;
    ExtractErps erps;
    control::Process process{{machine.process.machine, databases, erps, machine.objects, machine.diagnostics}};
};

TEST_F(CalendarRuns, CopyInFullThenWhatChanged) {
    GivenIntervals(
        "C1,A,2026-03-02,800,2026-03-04,1700,9,1,2026-03-02 08:00:00,2026-03-04 17:00:00\n"
        "C1,A,2026-01-01,800,2026-01-01,1700,9,1,2026-01-01 08:00:00,2026-01-01 17:00:00\n"
        "C2,A,2026-03-05,800,2026-03-05,1230,9,1,2026-03-05 08:00:00,2026-03-05 12:30:00\n");
    Copy(1);
    EXPECT_THAT(Intervals(), ElementsAre("C1 2026-03-02 07:00:00 9 Hours 0 Minutes",
                                         "C2 2026-03-05 07:00:00 4 Hours 30 Minutes"));
    EXPECT_THAT(Days(), ElementsAre("C1 2026-03-02 07:00:00 2026-03-02 16:00:00",
                                    "C1 2026-03-03 07:00:00 2026-03-03 16:00:00",
                                    "C1 2026-03-04 07:00:00 2026-03-04 16:00:00",
                                    "C2 2026-03-05 07:00:00 2026-03-05 11:30:00"));

    GivenIntervals("C1,A,2026-03-06,800,2026-03-06,900,9,1,2026-03-06 08:00:00,2026-03-06 09:00:00\n");
    Copy(2);
    EXPECT_THAT(Intervals(), ElementsAre("C1 2026-03-06 07:00:00 1 Hours 0 Minutes"));
    EXPECT_THAT(Days(), ElementsAre("C1 2026-03-06 07:00:00 2026-03-06 08:00:00"));
}

TEST_F(CalendarRuns, CopyTheCalendarOfAnEmployeeAlone) {
    GivenIntervals(
        "C1,A,2026-03-02,800,2026-03-02,1700,9,1,2026-03-02 08:00:00,2026-03-02 17:00:00\n"
        "C2,A,2026-03-05,2200,2026-03-06,600,8,1,2026-03-05 22:00:00,2026-03-06 06:00:00\n");
    control::CopyRun run(process);
    tables::CopyEmployeeCalendar(run, "E2", machine.directory.path.string());
    EXPECT_THAT(Rows("SELECT ccal, sttm, ahrs FROM tcccp030 WHERE ccal <> 'GONE'"),
                ElementsAre("C2 2200 -16 Hours 0 Minutes"));

    tables::ExpandListedCalendars(run);
    EXPECT_THAT(Days(), ElementsAre("C2 2026-03-05 21:00:00 2026-03-05 05:00:00",
                                    "C2 2026-03-06 21:00:00 2026-03-06 05:00:00"));
}

TEST_F(CalendarRuns, CopyAndExpandMoreIntervalsThanAPageHolds) {
    std::string rows;
    const platform::Date first = At("2026-02-02");
    for (int i = 0; i < 2251; ++i) {
        const std::string day = platform::IsoDate(platform::AddDays(first, i));
        const std::string next = platform::IsoDate(platform::AddDays(first, i + 1));
        rows += "C1,A," + day + ",2200," + next + ",600,8,1," + day + " 22:00:00," + next + " 06:00:00\n";
    }
    GivenIntervals(rows);
    Copy(1);
    EXPECT_EQ(Intervals().size(), 2251U);
    EXPECT_EQ(Days().size(), 2 * 2251U);
}

TEST_F(CalendarRuns, KeepWhatTheyHaveWhenARowOfTheExtractIsBad) {
    GivenIntervals(
        "C1,A,2026-03-02,800,2026-03-02,1700,9,1,2026-03-02 08:00:00,2026-03-02 17:00:00\n"
        "C2,A,2026-03-05,800,2026-03-05,1230,9,1,2026-03-05 08:00:00,2026-03-05 12:30:00\n");
    Copy(1);
    GivenIntervals(
        "C1,A,2026-03-06,800,2026-03-06,900,9,1,2026-03-06 08:00:00,2026-03-06 09:00:00\n"
        "C2,A,2026-03-07,noon,2026-03-07,1230,9,1,2026-03-07 08:00:00,2026-03-07 12:30:00\n");
    Copy(1);
    EXPECT_THAT(Intervals(), ElementsAre("C1 2026-03-06 07:00:00 1 Hours 0 Minutes",
                                         "C2 2026-03-05 07:00:00 4 Hours 30 Minutes"));
    EXPECT_EQ(Days().size(), 2U);
    EXPECT_THAT(Log(), HasSubstr("STIT0023, calendar C2\""));
    EXPECT_THAT(Log(), HasSubstr("calendars.csv"));
}

TEST_F(CalendarRuns, EmptyTheTablesOfCalendarsThatTheExtractDoesNotHave) {
    GivenIntervals("C1,A,2026-03-06,800,2026-03-06,900,9,1,2026-03-06 08:00:00,2026-03-06 09:00:00\n");
    Copy(1);
    GivenIntervals("");
    Copy(2);
    EXPECT_THAT(Intervals(), IsEmpty());
    EXPECT_THAT(Days(), IsEmpty());
}

TEST_F(CalendarRuns, KeepWhatTheyHaveWhenTheExportFailed) {
    GivenIntervals("C1,A,2026-03-06,800,2026-03-06,900,9,1,2026-03-06 08:00:00,2026-03-06 09:00:00\n");
    Copy(1);
    const auto file = machine.directory.path / "calendars.csv";
    std::filesystem::remove(file);
    for (const platform::Integer method : {control::kFull, control::kIncremental}) {
        Copy(method);
        EXPECT_THAT(Intervals(), ElementsAre("C1 2026-03-06 07:00:00 1 Hours 0 Minutes"));
    }
    EXPECT_THAT(Log(), HasSubstr("calendars.csv does not exist"));
    std::ofstream(file) << "calendar,start_date\n";
    for (const platform::Integer method : {control::kFull, control::kIncremental}) {
        Copy(method);
        EXPECT_THAT(Intervals(), ElementsAre("C1 2026-03-06 07:00:00 1 Hours 0 Minutes"));
    }
    EXPECT_THAT(Log(),
                HasSubstr("calendars.csv has no columns 'availability_type', 'start_time', 'end_date', "));
}

}  // namespace
}  // namespace iqrx::testing
