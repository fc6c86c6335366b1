#include "control/cls_data_copy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using platform::Integer;
using platform::Long;
using platform::RuntimeError;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

struct EventLines : control::DataCopyEvents {
    std::vector<std::string> lines;
    std::string failOn;  // the event whose handler raises

    void Hear(const std::string& event, const std::string& line) {
        lines.push_back(line);
        if (event == failOn) throw RuntimeError(91, "handler", "the caller is gone");
    }
    void DataCopyStarted(platform::Date, Integer id) override {
        Hear("Started", "Started " + std::to_string(id));
    }
    void DataCopyError(platform::Date, Integer id, Integer number, const std::string& message) override {
        Hear("Error", "Error " + std::to_string(id) + " " + std::to_string(number) + " " + message);
    }
    void DataCopyComplete(platform::Date, Integer id, Long i, Long u, Long d) override {
        Hear("Complete", "Complete " + std::to_string(id) + " " + std::to_string(i) + "/" +
                             std::to_string(u) + "/" + std::to_string(d));
    }
    void DataCopyAlreadyInProgress(platform::Date, Integer id) override {
        Hear("InProgress", "InProgress " + std::to_string(id));
    }
    void DataCopydone() override { Hear("done", "done"); }
};

// Table routines of the test: what the name says.
void CountThree(const control::TableCall& call) {
    call.run.counters = {1, 2, 3};
    call.run.Database().Execute("copy " + call.tableName + " " + call.runParameter + " " +
                                std::to_string(call.syncMethod));
}
void CountNothing(const control::TableCall&) {}
void DeleteOne(const control::TableCall& call) { call.run.counters.deleted = 1; }
void Fail(const control::TableCall&) { throw RuntimeError(-7, "table", "it failed"); }
constexpr control::TableRoutine kRoutines[] = {
    {"counted", CountThree}, {"nothing", CountNothing}, {"deleting", DeleteOne}, {"failing", Fail}};
constexpr control::CalendarRoutines kCalendarRoutines{
    [](control::CopyRun& run, const std::string& employee, const std::string& parameter) {
        run.Database().Execute("employee " + employee + " " + parameter);
    },
    [](control::CopyRun& run, const std::string& calendar, const std::string& parameter) {
        run.Database().Execute("calendar " + calendar + " " + parameter);
    },
    [](control::CopyRun& run) { run.Database().Execute("expand"); }};

class Driver : public TestProcess, public ::testing::Test {
protected:
    Driver() {
        database.defaultAffected = 1;
        Catalog(
            {{2, "COUNTED"}, {3, "nothing"}, {4, "deleting"}, {5, "failing"}, {6, "unheard_of"}, {18, "tcccp030"}});
        Filter(0);
        xml.texts = {{"SLBL0302", "No such table"}, {"SLBL0507", "%1: %2"}};
    }

    void Catalog(const std::vector<std::pair<Long, std::string>>& tables) {
        Rows rows{{"ERPTableID", "tableid", "tablename", "text"}, {}};
        for (const auto& [id, name] : tables) rows.rows.push_back({"erp"s, id, name, name + " text"});
        database.WhenOpened(
            "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c where a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label",
            std::move(rows));
        process.catalog.LoadTableCatalog(database, "c", "", 1, "SYNC");
    }
    void Filter(Long parameter) {
        database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{parameter}}});
    }
    void InUse(const std::string& table) {
        database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'" + table + "'",
                            Rows{{"in_use"}, {{Long{1}}}});
    }
    control::Outcome Start(Integer tableId, Integer databasePlatform = 1) {
        database.executed.clear();
        database.calls.clear();
        control::clsDataCopy job(process, kRoutines, kCalendarRoutines, events);
        job.StartDataCopy({"the string", "db", tableId, 1, directory.path.string(), "bus", databasePlatform,
                           calendarParameter, statusKey});
        return job.LastOutcome();
    }
    // The calls that contain one of the texts.
    std::vector<std::string> CallsAbout(const std::vector<std::string>& texts) const {
        std::vector<std::string> calls;
        for (const std::string& call : database.calls)
            for (const std::string& text : texts)
                if (call.find(text) != std::string::npos) {
                    calls.push_back(call);
                    break;
                }
        return calls;
    }
    std::string LogNamed(const std::string& table) const {
        return (directory.path / (table + "_20260304.log")).string();
    }

    EventLines events;
    std::string calendarParameter;
    std::optional<Long> statusKey;
};

TEST_F(Driver, LocksCopiesRefreshesStatisticsAndUnlocks) {
    EXPECT_EQ(Start(2), control::Outcome::Complete);
    EXPECT_THAT(database.executed, ElementsAre("SET DATEFORMAT YMD",
                                               "UPDATE tstables SET in_use = 1WHERE tablename = N'COUNTED'",
                                               "copy COUNTED bus 1", "UPDATE STATISTICS COUNTED",
                                               "UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'"));
    EXPECT_THAT(events.lines, ElementsAre("Started 2", "Complete 2 1/2/3", "done"));
    EXPECT_EQ(database.openConnections, 0);
}

TEST_F(Driver, TestsAndTakesTheLockInOneExclusiveSection) {
    Start(2);
    EXPECT_THAT(
        CallsAbout({"section", "SELECT * FROM tstables", "in_use = 1"}),
        ElementsAre("Begin exclusive section", "Open SELECT * FROM tstables WHERE tablename = N'COUNTED' 0 1",
                    "Execute UPDATE tstables SET in_use = 1WHERE tablename = N'COUNTED'",
                    "End exclusive section"));
}

TEST_F(Driver, KeepsWhatTheCopyWroteBeforeStatisticsAndUnlock) {
    Start(2);
    EXPECT_THAT(CallsAbout({"copy COUNTED", "Commit", "STATISTICS", "in_use = 0"}),
                ElementsAre("Execute copy COUNTED bus 1", "Commit", "Execute UPDATE STATISTICS COUNTED",
                            "Execute UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'", "Commit"))
        << "and once more before the run is done";
}

TEST_F(Driver, FailsARunWhoseWritesAreLostInTheEnd) {
    database.FailCommit({-13, "db", "disk full; writes are lost"});
    EXPECT_EQ(Start(2), control::Outcome::Error);
    EXPECT_THAT(database.executed, Not(Contains(HasSubstr("STATISTICS"))));
    EXPECT_EQ(database.executed.back(), "UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'");
    EXPECT_THAT(events.lines, ElementsAre("Started 2", HasSubstr("Error 2 -1"), "done"));
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("\"db\",\"disk full; writes are lost\""));
}

TEST_F(Driver, LogsWhatIsLostAfterTheOutcomeWasTold) {
    Filter(1);
    statusKey = 0;
    database.WhenExecuted("expand", std::function<Long()>([this] {
                              database.FailCommit({-13, "db", "the expansion is lost"});
                              return 1;
                          }));
    EXPECT_EQ(Start(2), control::Outcome::Complete);
    EXPECT_EQ(process.runLog.FirstError(), "the expansion is lost");
    EXPECT_THAT(events.lines, ElementsAre("Started 2", "Complete 2 1/2/3", "done"));
}

TEST_F(Driver, LeavesATableInUseAlone) {
    InUse("COUNTED");
    EXPECT_EQ(Start(2), control::Outcome::AlreadyInProgress);
    EXPECT_THAT(database.executed, ElementsAre("SET DATEFORMAT YMD"));
    EXPECT_THAT(events.lines, ElementsAre("InProgress 2", "done"));
}

TEST_F(Driver, RefreshesNoStatisticsWhenNothingChangedAndNeverOnOracle) {
    Start(3);
    EXPECT_THAT(database.executed, Not(Contains(HasSubstr("STATISTICS"))));
    Start(2, 2);
    EXPECT_THAT(database.executed, Not(Contains(HasSubstr("STATISTICS"))));
    Start(4);
    EXPECT_THAT(database.executed, Contains("UPDATE STATISTICS deleting")) << "one deletion is a change";
}

TEST_F(Driver, ReportsAFailingRoutineAfterUnlocking) {
    EXPECT_EQ(Start(5), control::Outcome::Error);
    EXPECT_EQ(database.executed.back(), "UPDATE tstables SET in_use = 0WHERE tablename = N'failing'");
    EXPECT_THAT(events.lines,
                ElementsAre("Started 5",
                            "Error 5 -1 DataCopy Failed, see logfile '" + LogNamed("failing") + "' for details",
                            "done"));
    EXPECT_THAT(Contents(LogNamed("failing")), HasSubstr("\"table\",\"it failed\""));
}

TEST_F(Driver, TriesAFailingLastUnlockOnceMore) {
    int tries = 0;
    database.WhenExecuted("UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'",
                          std::function<Long()>([&] {
                              if (++tries == 1) throw RuntimeError(1, "db", "busy");
                              return 1;
                          }));
    EXPECT_EQ(Start(2), control::Outcome::Complete);
    EXPECT_EQ(tries, 2);
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("\"db\",\"busy\""));
    EXPECT_EQ(diagnostics.str(), "");
}

TEST_F(Driver, SettlesALossBeforeItTriesTheUnlockAgainSinceItWouldFailThatToo) {
    int tries = 0;
    database.WhenExecuted("UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'",
                          std::function<Long()>([&] {
                              if (++tries == 1) throw platform::WritesLost(13, "db", "disk full");
                              return 1;
                          }));
    Start(2);
    EXPECT_THAT(CallsAbout({"Commit", "in_use = 0"}),
                ElementsAre("Commit", HasSubstr("in_use = 0"), "Commit", HasSubstr("in_use = 0"), "Commit"));
}

TEST_F(Driver, ReportsCompletionAndTellsOfTheLockWhenTheLastUnlockFails) {
    database.WhenExecuted("UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'",
                          RuntimeError(1, "db", "lost"));
    EXPECT_EQ(Start(2), control::Outcome::Complete);
    EXPECT_THAT(events.lines, ElementsAre("Started 2", "Complete 2 1/2/3", "done"));
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("\"db\",\"lost\""));
    EXPECT_EQ(diagnostics.str(), "iQRXyQRXSync: COUNTED stays locked: lost\n");
}

TEST_F(Driver, ShowsAMessageForATableWithoutARoutineWhenTheLockIsGone) {
    messageBox.onShow = [this] {
        EXPECT_EQ(database.executed.back(), "UPDATE tstables SET in_use = 0WHERE tablename = N'unheard_of'");
    };
    EXPECT_EQ(Start(6), control::Outcome::Complete);
    EXPECT_THAT(messageBox.shown, ElementsAre("No such table"));
    EXPECT_THAT(events.lines, ElementsAre("Started 6", "Complete 6 0/0/0", "done"));
}

TEST_F(Driver, ReportsAnErrorWhenTheDatabaseCannotBeOpened) {
    database.WhenConnected({-2147467259, "driver", "no such server"});
    EXPECT_EQ(Start(2), control::Outcome::Error);
    EXPECT_THAT(events.lines, ElementsAre(HasSubstr("Error 2 -1"), "done"));
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("no such server"));
    EXPECT_EQ(process.runLog.FirstError(), "no such server");
}

// The connection of the request before is gone, and what it had to say with it.
TEST_F(Driver, LogsAnErrorBeforeTheSecondRequestOfAProcessHasAConnection) {
    Start(2);
    EXPECT_EQ(Start(129), control::Outcome::Error);
    database.WhenConnected({-2147467259, "driver", "no such server"});
    EXPECT_EQ(Start(2), control::Outcome::Error);
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("no such server"));
}

TEST_F(Driver, RaisesNoSecondOutcomeWhenTheFilterParameterIsMissing) {
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {}});
    EXPECT_EQ(Start(2), control::Outcome::Complete);
    EXPECT_THAT(events.lines, ElementsAre("Started 2", "Complete 2 1/2/3", "done"));
    EXPECT_THAT(Contents(LogNamed("COUNTED")), HasSubstr("\"GetTVKFilter\",\"Could not get the Filter Flag\""));
    EXPECT_EQ(database.openConnections, 0);
}

TEST_F(Driver, UnlocksWhenTheCallerFailsInTheStartedEvent) {
    events.failOn = "Started";
    EXPECT_EQ(Start(2), control::Outcome::Error);
    EXPECT_EQ(database.executed.back(), "UPDATE tstables SET in_use = 0WHERE tablename = N'COUNTED'");
    EXPECT_THAT(events.lines, ElementsAre("Started 2", HasSubstr("Error 2 -1"), "done"));
}

TEST_F(Driver, EndsCleanlyWhicheverEventTheCallerFailsIn) {
    for (const char* event : {"Complete", "done"}) {
        events.failOn = event;
        events.lines.clear();
        EXPECT_EQ(Start(2), control::Outcome::Complete);
        EXPECT_THAT(events.lines, ElementsAre("Started 2", "Complete 2 1/2/3", "done"));
        EXPECT_EQ(database.openConnections, 0);
    }
    events.failOn = "Error";
    events.lines.clear();
    EXPECT_EQ(Start(5), control::Outcome::Error);
    EXPECT_THAT(events.lines, ElementsAre("Started 5", HasSubstr("Error 5 -1"), "done"));
}

TEST_F(Driver, RunsTheCalendarsOfOneEmployeeUnderTheCalendarTablesLock) {
    calendarParameter = "E1";
    Start(99);
    EXPECT_THAT(database.executed,
                ElementsAre("SET DATEFORMAT YMD", "UPDATE tstables SET in_use = 1WHERE tablename = N'tcccp030'",
                            "employee E1 bus", "UPDATE tstables SET in_use = 0WHERE tablename = N'tcccp030'"));
    EXPECT_THAT(events.lines, ElementsAre("Started 99", "Complete 99 0/0/0", "done"));
    EXPECT_EQ(process.runLog.LogFileName(), LogNamed("tcccp030"));
}

TEST_F(Driver, RunsOneCalendarWithItsOwnParameter) {
    calendarParameter = "C1";
    Start(98);
    EXPECT_THAT(database.executed, Contains("calendar C1 bus"));
    EXPECT_EQ(process.runLog.LogFileName(), LogNamed(""));
}

TEST_F(Driver, ExpandsListedCalendarsWhenFilterAndTableStatusAreOn) {
    const auto expanded = [&](Long filter, bool tableStatus) {
        Filter(filter);
        statusKey = tableStatus ? std::optional(Long{7}) : std::nullopt;
        Start(3);
        return database.executed.back() == "expand";
    };
    EXPECT_TRUE(expanded(1, true));
    EXPECT_FALSE(expanded(1, false));
    EXPECT_FALSE(expanded(0, true));
    EXPECT_FALSE(expanded(2, true));
}

TEST_F(Driver, ReportsAnIdOutsideTheCatalogAsAnErrorThatTheRequestErrorLogKeeps) {
    const std::string log = (directory.path / "iQRXyDBSync.log").string();
    for (const Integer id : {Integer{129}, Integer{-1}}) {
        events.lines.clear();
        EXPECT_EQ(Start(id), control::Outcome::Error);
        EXPECT_THAT(events.lines, ElementsAre("Error " + std::to_string(id) +
                                                  " -1 DataCopy Failed, see logfile '" + log + "' for details",
                                              "done"));
        EXPECT_EQ(process.runLog.FirstError(), "Subscript out of range: table id " + std::to_string(id));
        EXPECT_THAT(Contents(log),
                    HasSubstr("Error is - 9: Subscript out of range: table id " + std::to_string(id)));
    }
}

TEST_F(Driver, CopiesWithoutALogThatCanBeWritten) {
    control::clsDataCopy job(process, kRoutines, kCalendarRoutines, events);
    job.StartDataCopy({"the string", "db", 2, 1, "/no/such/directory", "bus", 1});
    EXPECT_EQ(job.LastOutcome(), control::Outcome::Complete);
}

TEST_F(Driver, CopiesNothingForAllTables) {
    control::clsDataCopy job(process, kRoutines, kCalendarRoutines, events);
    database.calls.clear();
    job.CopyAllTables({});
    EXPECT_TRUE(process.settings.allTables);
    EXPECT_TRUE(database.calls.empty());
    EXPECT_TRUE(events.lines.empty());
}

TEST_F(Driver, FormatsFailuresInTheCatalogsWords) {
    control::clsDataCopy job(process, kRoutines, kCalendarRoutines, events);
    std::string text;
    job.FormatFailedMessage("Title", "what happened", text);
    EXPECT_EQ(text, "Title: what happened");
}

TEST(Counters, RaiseOverflowPastTheLargestNumber) {
    Long counter = 2147483646;
    control::Add(counter, 1);
    EXPECT_THROW(control::Add(counter, 1), RuntimeError);
    EXPECT_EQ(counter, 2147483647);
}

}  // namespace
}  // namespace iqrx::testing
