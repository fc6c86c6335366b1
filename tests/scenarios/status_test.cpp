// What a monitor and an operator are told of the tables: how fresh they are, how many rows they have, who
// copies them and what is wrong.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "scenarios/books.h"
#include "scenarios/terminal.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr long kMinute = 60, kDay = 86400;

class TheStatus : public SiteWithBooks {
protected:
    // The line of a table.
    static std::string LineOf(const Finished& run, const std::string& table) {
        for (const std::string& line : Lines(run.out))
            if (line.starts_with(table)) return line;
        return {};
    }
    // What SQL finds in the object that --json shows.
    std::string FromJson(const Finished& run, const std::string& path, const std::string& table = "") const {
        std::string json;
        for (const char c : run.out) json += c == '\'' ? "''" : std::string(1, c);
        if (table.empty()) return JsonCell("SELECT json_extract('" + json + "', '$." + path + "')");
        return JsonCell("SELECT json_extract(value, '$." + path + "') FROM json_each('" + json +
                        "', '$.tables') WHERE json_extract(value, '$.table') = '" + table + "'");
    }
    Finished AsAMonitor(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--connection", Connection()});
        return RunAsNobody(IQRX_QRXCTL, std::move(arguments));
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
    void CopyServiceTypes() const {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        Qrxctl({"copy", "tsmdm030", "--full"});
    }
};

TEST_F(TheStatus, ShowsRowsLastCopyAgeTrailAndStateOfEveryTable) {
    CopyServiceTypes();
    GivenRuns({{.run = "20261121-105000", .method = "incremental", .secondsAgo = 12 * kMinute}});
    GivenLedger(LocalSecondsAgo(12 * kMinute));

    const Finished run = Qrxctl({"status"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, StartsWith("scheduling.db  " + LocalSecondsAgo(0).substr(0, 10)));
    EXPECT_THAT(LineOf(run, "table"), ContainsRegex("^table +rows +last copy +age +trail read to +state$"));
    EXPECT_THAT(LineOf(run, "tsmdm030"),
                ContainsRegex("^tsmdm030 +3 +.*[0-9]:[0-9]+ incr.* 12 m +.*[0-9]:[0-9]+ +ok$"));
    EXPECT_THAT(LineOf(run, "tsmdm100"), ContainsRegex("^tsmdm100 +0 +- +- +- +never copied$"));
    EXPECT_THAT(run.out, HasSubstr("\n1 ok, 18 note, 0 wrong\nnote     18 tables never copied: tsmdm000 "));
    for (const std::string& table : CatalogTables()) EXPECT_NE(LineOf(run, table), "") << table;
    ExpectNarrow(run.out);
}

// What a shell makes of a step that was pasted into it.
TEST_F(TheStatus, NamesWhatToDoInOneCommandHoweverManyTablesItIsFor) {
    const auto pasted = [&](const Finished& run) {
        ExpectNarrow(run.out);
        const std::string step = run.out.substr(run.out.rfind("-> ") + 3);
        GivenFile(directory / "step.sh", "qrxctl() { echo \"$#: $*\"; }\n" + step);
        return RunToEnd({"/bin/sh", "step.sh"}, directory).out;
    };
    EXPECT_EQ(pasted(Qrxctl({"status"})), "3: copy --all --full\n");
    CopyServiceTypes();
    EXPECT_EQ(pasted(Qrxctl({"status"})),
              "13: copy configuration tsmdm100 tsmdm105 tsmdm130 tsmdm135 tsmdm140 orders tsclm020 tsclm024 "
              "tcccp030 tccom130 --full\n");
    // The group has another table, which was not asked for.
    EXPECT_EQ(pasted(Qrxctl({"status", "tssoc*"})), "6: copy tssoc200 tssoc205 tssoc206 tssoc210 --full\n");
}

TEST_F(TheStatus, ShowsRunsInTheZoneOfNow) {
    const std::time_t then = std::time(nullptr) - 3600;
    const auto at = [&](long offset, const char* form) {
        const std::time_t local = then + offset;
        char text[40];
        return std::string(text, std::strftime(text, sizeof text, form, std::gmtime(&local)));
    };
    const std::string began = at(5 * 3600, "%Y-%m-%dT%H:%M:%S+05:00");
    GivenHistoryLine(
        "{\"schema\":1,\"run\":\"20261121-105500\",\"table\":\"tsmdm030\",\"method\":\"full\",\"outcome\":"
        "\"ok\",\"began\":\"" +
        began + "\",\"ended\":\"" + began + "\",\"rows\":0,\"seconds\":0.1}");
    EXPECT_THAT(LineOf(Qrxctl({"status"}, {{"TZ", "UTC"}}), "tsmdm030"), HasSubstr(at(0, "%H:%M full ")));
    EXPECT_THAT(LineOf(Qrxctl({"status"}, {{"TZ", "EST5"}}), "tsmdm030"),
                HasSubstr(at(-5 * 3600, "%H:%M full ")));
}

TEST_F(TheStatus, AnswersAMonitorThatMayReadTheFileAndNothingElse) {  // B1
    CopyServiceTypes();
    fs::permissions(database, fs::perms(0444));
    fs::permissions(directory, fs::perms(0555));

    const Finished run = AsAMonitor({"status", "tsmdm030"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(LineOf(run, "tsmdm030"), AllOf(StartsWith("tsmdm030  3 "), EndsWith(" ok")));
    fs::permissions(directory, fs::perms::owner_all);
}

TEST_F(TheStatus, SaysThatAFileMayNotBeRead) {  // B1
    fs::permissions(directory, fs::perms(0755));
    fs::permissions(database, fs::perms::none);
    const Finished run = AsAMonitor({"status"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(Unwrapped(run.err),
                HasSubstr("The database file cannot be opened (Permission denied): " + database.string()));
}

TEST_F(TheStatus, WritesNothingAndLeavesNothing) {  // B1
    const auto before = Files();
    const auto written = fs::last_write_time(database);
    EXPECT_EQ(Qrxctl({"status"}).exitCode, 0);
    EXPECT_EQ(Files(), before);
    EXPECT_EQ(fs::last_write_time(database), written);
}

TEST_F(TheStatus, ShowsTheOtherTablesWhenOneIsMissing) {  // B1
    CopyServiceTypes();
    Execute("DROP TABLE tsmdm100");

    const Finished run = Qrxctl({"status"});

    EXPECT_THAT(LineOf(run, "tsmdm030"), EndsWith(" ok"));
    EXPECT_THAT(LineOf(run, "tsmdm100"), EndsWith(" no such table"));
    EXPECT_THAT(run.out, HasSubstr("\nwrong    tsmdm100  no such table\n         -> qrxctl init\n"));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json"}), "state", "tsmdm100"), "no such table");
}

TEST_F(TheStatus, TellsZoneAndAgeSoThatAnAlarmCanBeComputed) {  // B1
    GivenRuns({{.run = "20261121-105000", .secondsAgo = 90}});
    const Environment berlin{{"TZ", "UTC-1"}};  // as POSIX writes an hour east of Greenwich

    EXPECT_THAT(Lines(Qrxctl({"status"}, berlin).out).at(0), EndsWith(" (UTC+1)"));
    const Finished run = Qrxctl({"status", "--json"}, berlin);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.out), SizeIs(1));
    EXPECT_EQ(FromJson(run, "schema"), "1");
    EXPECT_EQ(FromJson(run, "exit_code"), "0");
    EXPECT_THAT(FromJson(run, "at"), ContainsRegex("^2[0-9-]+T[0-9:]+[+]01:00$"));
    const int age = std::stoi(FromJson(run, "age_seconds", "tsmdm030"));
    EXPECT_GE(age, 90);
    EXPECT_LT(age, 120);
    EXPECT_EQ(FromJson(run, "last_copy.method", "tsmdm030"), "full");
    EXPECT_THAT(FromJson(run, "last_copy.at", "tsmdm030"), ContainsRegex("^2[0-9-]+T[0-9:]+[+-][0-9:]+$"));
}

TEST_F(TheStatus, ShowsTheRealLastCopyOfCalendars) {  // B1
    Execute("INSERT INTO tcccp030 (ccal) VALUES ('C01')");
    GivenRuns({{.run = "20261121-023000", .table = "tcccp030", .secondsAgo = 2 * kMinute, .rows = 1}});
    EXPECT_THAT(LineOf(Qrxctl({"status", "tcccp030"}), "tcccp030"),
                ContainsRegex("^tcccp030 +1 +.*[0-9]+:[0-9]+ full +2 m +- +ok$"));
}

TEST_F(TheStatus, EndsWithFiveWhenATableIsOlderThanWanted) {  // B1
    GivenRuns({{.run = "20261118-105000", .secondsAgo = 3 * kDay}});
    EXPECT_EQ(Qrxctl({"status", "tsmdm030"}).exitCode, 0);
    EXPECT_EQ(Qrxctl({"status", "tsmdm030", "--max-age", "4d"}).exitCode, 0);

    const Finished run = Qrxctl({"status", "tsmdm030", "--max-age", "30m"});

    EXPECT_EQ(run.exitCode, 5);
    EXPECT_THAT(run.out,
                HasSubstr("0 ok, 0 note, 1 wrong\nwrong    tsmdm030  last copied 3 d ago, wanted every 30 m\n"
                          "         -> qrxctl copy tsmdm030 --incremental\n"));
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json", "--max-age", "8h"}), "exit_code"), "5");
    EXPECT_EQ(Qrxctl({"status", "--max-age", "soon"}).exitCode, 64);
}

TEST_F(TheStatus, EndsWithFiveWhenALockHasNoProcess) {  // B1
    Lock("tsmdm030");
    GivenSheet("tsmdm030", ThisHost(), 26 * kMinute);

    const Finished run = Qrxctl({"status", "tsmdm030"});

    EXPECT_EQ(run.exitCode, 5);
    EXPECT_THAT(LineOf(run, "tsmdm030"), EndsWith(" LOCKED, no process"));
    EXPECT_THAT(run.out,
                HasSubstr("wrong    tsmdm030  locked 26 m by pid 99999999 (qrxctl copy --all --full, anna)\n"
                          "                   on this machine, which is gone\n"
                          "         -> qrxctl unlock tsmdm030\n"));
    ExpectNarrow(run.out);
    const Finished json = Qrxctl({"status", "--json"});
    EXPECT_EQ(FromJson(json, "lock.holder", "tsmdm030"), "left");
    EXPECT_EQ(FromJson(json, "lock.pid", "tsmdm030"), "99999999");
}

TEST_F(TheStatus, ShowsWhoCopiesATableNow) {
    Lock("tsmdm030");
    GivenSheet("tsmdm030", ThisHost(), 8);
    const SheetHolder holder(State() / "running" / "tsmdm030");
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(LineOf(run, "tsmdm030"), ContainsRegex(" copying [0-9]+ s$"));
}

TEST_F(TheStatus, ShowsHowFarACopyIs) {  // B3
    Lock("tsmdm030");
    GivenSheet("tsmdm030", ThisHost(), 8);
    GivenSign("tsmdm030", 41'200, 8000, 1);
    const SheetHolder holder(State() / "running" / "tsmdm030");

    const Finished run = Qrxctl({"status"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.out).at(1),
                MatchesRegex("copying  tsmdm030  41,200 rows, 5,150/s, [0-9]+ s, by pid 99999999"));
    EXPECT_THAT(Lines(run.out).at(2), StartsWith("table "));
    ExpectNarrow(run.out.substr(0, run.out.find("         -> ")));
    const Finished json = Qrxctl({"status", "--json"});
    EXPECT_EQ(FromJson(json, "lock.rows", "tsmdm030"), "41200");
    EXPECT_EQ(FromJson(json, "lock.rows_per_second", "tsmdm030"), "5150");
    EXPECT_THAT(FromJson(json, "lock.last_sign", "tsmdm030"),
                StartsWith(LocalSecondsAgo(0).substr(0, 10) + "T"));
}

TEST_F(TheStatus, ShowsACopyThatHasNotToldYetHowFarItIs) {
    GivenSheet("tsmdm030", ThisHost(), 8);
    const SheetHolder holder(State() / "running" / "tsmdm030");
    EXPECT_THAT(Lines(Qrxctl({"status", "tsmdm030"}).out).at(1),
                MatchesRegex("copying  tsmdm030  [0-9]+ s, by pid 99999999"));
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json"}), "lock.rows", "tsmdm030"), "NULL");
}

TEST_F(TheStatus, ShowsACopyWhoseSheetCouldNotBeWritten) {
    fs::create_directories(State() / "running");
    GivenFile(State() / "running" / "tsmdm030", "");
    const SheetHolder holder(State() / "running" / "tsmdm030");
    EXPECT_EQ(Lines(Qrxctl({"status", "tsmdm030"}).out).at(1), "copying  tsmdm030  by a process");
}

TEST_F(TheStatus, PutsWhatIsBeingCopiedOnTopOfTheScreenThatIsWatched) {  // B3
    setenv("TERM", "xterm", 1);
    GivenSheet("tccom130", ThisHost(), 8);
    const fs::path sheet = State() / "running" / "tccom130";
    const std::string begun = ReadText(sheet);
    GivenSign("tccom130", 41'200, 8000, 1);
    const SheetHolder holder(sheet);
    Terminal terminal(
        {IQRX_QRXCTL, "--connection", Connection(), "--log-dir", logs.string(), "status", "--watch", "1s"},
        directory);
    ASSERT_TRUE(terminal.Shows(")\x1b[K\ncopying  tccom130  41,200 rows, 5,150/s, ")) << terminal.Screen();
    ASSERT_TRUE(terminal.Shows(" state\x1b[K\ntccom130 ")) << terminal.Screen();
    std::ofstream(sheet, std::ios::binary) << begun;
    GivenSign("tccom130", 93'100, 10'000, 0);
    ASSERT_TRUE(terminal.Shows(")\x1b[K\ncopying  tccom130  93,100 rows, 9,310/s, ")) << terminal.Screen();
    terminal.Type("q");
    EXPECT_EQ(terminal.Wait(), 0);
}

TEST_F(TheStatus, TellsWhenACopyOnAnotherHostHasGivenItsLastSign) {
    Lock("tsmdm030");
    GivenSheet("tsmdm030", "sched2", 10 * kMinute);
    GivenSign("tsmdm030", 41'200, 400'000, 3 * kMinute);
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Unwrapped(run.out),
                HasSubstr("locked 10 m by pid 99999999 (qrxctl copy --all --full, anna) on host "
                          "sched2, last sign 3 m ago; nothing here proves"));
}

TEST_F(TheStatus, ClaimsNothingOfALockThatItCannotProve) {
    Lock("tsmdm030");
    Lock("tsmdm100");
    GivenSheet("tsmdm100", "sched2", 3 * kMinute);
    const Finished run = Qrxctl({"status"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(LineOf(run, "tsmdm030"), EndsWith(" locked, unknown"));
    EXPECT_THAT(LineOf(run, "tsmdm100"), EndsWith(" locked, unknown"));
    EXPECT_THAT(run.out, HasSubstr("note     tsmdm030  locked by a program that keeps no run sheet here;"));
    EXPECT_THAT(run.out, ContainsRegex("on[ \n]+host[ \n]+sched2;[ \n]+nothing[ \n]+here[ \n]+proves"));
}

TEST_F(TheStatus, TakesNamesPatternsAndGroups) {  // B1
    EXPECT_THAT(LineOf(Qrxctl({"status", "tssoc200"}), "tssoc200"), StartsWith("tssoc200"));
    EXPECT_EQ(LineOf(Qrxctl({"status", "tssoc200"}), "tsmdm030"), "");
    const Finished pattern = Qrxctl({"status", "tssoc*"});
    EXPECT_NE(LineOf(pattern, "tssoc206"), "");
    EXPECT_EQ(LineOf(pattern, "tsmdm030"), "");
    EXPECT_NE(LineOf(Qrxctl({"status", "calendars"}), "tcccp030"), "");
    const Finished unknown = Qrxctl({"status", "tssoc20"});
    EXPECT_EQ(unknown.exitCode, 64);
    EXPECT_THAT(unknown.err, IsOneLineWith("tssoc20"));
}

TEST_F(TheStatus, FindsTheBooksOfACatalogInCapitals) {
    Execute("UPDATE tstables SET tablename = 'TSMDM030' WHERE tablename = 'tsmdm030'");
    CopyServiceTypes();
    EXPECT_THAT(LineOf(Qrxctl({"status"}), "TSMDM030"), Not(HasSubstr("?")));
    EXPECT_THAT(Qrxctl({"status", "tsmdm030", "--read"}).out, HasSubstr("read  "));
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json"}), "last_run.outcome", "TSMDM030"), "ok");
}

TEST_F(TheStatus, AlarmsWhenALastUpdateLiesInTheFuture) {  // A2
    Execute("UPDATE tstables SET lutm = '2099-01-01 00:00:00' WHERE tablename = 'tsmdm030'");
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_THAT(run.out, HasSubstr("wrong    tsmdm030  last update 2099-01-01 00:00 lies in the future"));
}

TEST_F(TheStatus, MarksALastUpdateOfWhichNoRunIsKnown) {  // B1: nobody knows its zone
    Execute("UPDATE tstables SET lutm = '" + LocalSecondsAgo(5 * kMinute) + "' WHERE tablename = 'tsmdm030'");
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_THAT(LineOf(run, "tsmdm030"), ContainsRegex("[0-9]:[0-9]+ [?] "));
    EXPECT_THAT(run.out, HasSubstr("?  no run in the history: the last update of the control table"));
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json"}), "last_copy", "tsmdm030"), "NULL");
}

TEST_F(TheStatus, CountsTheRowsThatAnIncrementalCopyLeftBlank) {  // A6
    for (const char* file : {"tsmdm140.csv", "tsmdm140.audit.csv"})
        fs::copy_file(Sample() / file, extract / file);
    Qrxctl({"copy", "tsmdm140", "--full"});
    EXPECT_THAT(LineOf(Qrxctl({"status", "tsmdm140"}), "tsmdm140"), EndsWith(" ok"));
    Qrxctl({"copy", "tsmdm140", "--incremental", "--since", "2025-06-20"});

    const Finished run = Qrxctl({"status", "tsmdm140"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(LineOf(run, "tsmdm140"), EndsWith(" 3 rows blanked"));
    EXPECT_THAT(run.out, HasSubstr("0 ok, 1 note, 0 wrong\n"));
    EXPECT_THAT(run.out, HasSubstr("-> qrxctl copy tsmdm140 --full\n"));
}

TEST_F(TheStatus, TakesTheErpsOwnEmptyColumnsForBlankOnlyAfterAnIncrementalCopy) {
    Execute("INSERT INTO tscfg220 (ccfg, tecr) VALUES ('I0001', '')");
    GivenRuns({{.run = "1-1", .table = "tscfg220"}});
    EXPECT_THAT(LineOf(Qrxctl({"status", "tscfg220"}), "tscfg220"), EndsWith(" ok"));
    GivenRuns({{.run = "1-2", .table = "tscfg220", .method = "incremental", .copied = 1}});
    EXPECT_THAT(LineOf(Qrxctl({"status", "tscfg220"}), "tscfg220"), EndsWith(" 1 row blanked"));
}

TEST_F(TheStatus, ShowsARunThatFailedAndWhereToReadOn) {
    GivenRuns({{.run = "20261121-100000", .secondsAgo = 600},
               {.run = "20261121-101000", .outcome = "failed", .cause = "the disk is full", .secondsAgo = 60},
               {.run = "20261121-101001", .outcome = "in use", .secondsAgo = 1}});
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(LineOf(run, "tsmdm030"), AllOf(HasSubstr(" 10 m "), EndsWith(" last run failed")));
    EXPECT_THAT(run.out, HasSubstr("note     tsmdm030  last run failed: the disk is full\n"
                                   "         -> qrxctl history 20261121-101000\n"));
}

TEST_F(TheStatus, DoesNotCountALargeTableWhoseRowsARunHasNoted) {
    GivenRuns({{.run = "20261121-100000", .rows = 1'000'000}});
    const Finished run = Qrxctl({"status", "tsmdm030"});
    EXPECT_THAT(LineOf(run, "tsmdm030"), HasSubstr(" ~1,000,000 "));
    EXPECT_THAT(run.out, HasSubstr("~  as the last run left them"));
    EXPECT_THAT(LineOf(Qrxctl({"status", "tsmdm030", "--count"}), "tsmdm030"), StartsWith("tsmdm030  0 "));
}

TEST_F(TheStatus, SaysThatThereAreMoreRowsThanItCountsOfALargeTableWithoutAHistory) {
    Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10001) "
        "INSERT INTO tsclm024 (sltt) SELECT i FROM n");
    EXPECT_THAT(LineOf(Qrxctl({"status", "tsclm024"}), "tsclm024"), StartsWith("tsclm024  >10,000 "));
    EXPECT_THAT(LineOf(Qrxctl({"status", "tsclm024", "--count"}), "tsclm024"), StartsWith("tsclm024  10,001 "));
    Execute("DELETE FROM tsclm024 WHERE sltt = 7");
    EXPECT_THAT(LineOf(Qrxctl({"status", "tsclm024"}), "tsclm024"), StartsWith("tsclm024  10,000 "));
}

TEST_F(TheStatus, ShowsWhatWasReadOfATrailAndItsGaps) {  // A2
    GivenRuns({{.run = "20261121-100000"}});
    GivenLedger("2026-11-21 18:00:00", "{\"from\":\"2026-11-21 10:10:00\",\"to\":\"2026-11-21 15:10:00\"}");

    const Finished run = Qrxctl({"status", "tsmdm030", "tsmdm100", "--read"});

    EXPECT_EQ(run.exitCode, 5);
    EXPECT_THAT(Lines(run.out), ElementsAre("tsmdm030  read  ................ ........ 2026-11-21 10:10",
                                            "          GAP   2026-11-21 10:10 - 2026-11-21 15:10   5.0 h",
                                            "          read  2026-11-21 15:10 ........ 2026-11-21 18:00",
                                            "         -> qrxctl copy tsmdm030 --fill-gaps",
                                            "tsmdm100  -     nothing was noted of its trail"));
    const Finished table = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(table.exitCode, 5);
    EXPECT_THAT(LineOf(table, "tsmdm030"), EndsWith(" gap 5.0 h"));
    EXPECT_EQ(FromJson(Qrxctl({"status", "--json"}), "trail_gap_seconds", "tsmdm030"), "18000");
}

TEST_F(TheStatus, IsSilentOnRequestUnlessSomethingIsWrong) {
    GivenRuns({{.run = "20261118-105000", .outcome = "ok", .secondsAgo = 3 * kDay}});
    EXPECT_EQ(Qrxctl({"status", "-q"}).out, "");
    const Finished run = Qrxctl({"status", "-q", "tsmdm030", "--max-age", "1d"});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_THAT(run.out, StartsWith("wrong    tsmdm030  last copied 3 d ago"));
}

TEST_F(TheStatus, WritesMetricsForACollector) {
    GivenRuns({{.run = "20261121-100000", .secondsAgo = 1560},
               {.run = "20261121-101000", .outcome = "failed", .secondsAgo = 1500}});
    const fs::path file = directory / "qrx.prom";
    GivenFile(file, "old");
    fs::permissions(file, fs::perms(0604));

    const Finished run = Qrxctl({"status", "--prometheus", file.string()});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");
    const std::string metrics = ReadText(file);
    EXPECT_THAT(metrics, ContainsRegex("\nqrx_copy_age_seconds[{]table=\"tsmdm030\"[}] 15[67][0-9]\n"));
    EXPECT_THAT(Lines(metrics), AllOf(Contains("qrx_rows{table=\"tsmdm030\"} 0"),
                                      Contains("qrx_lock_age_seconds{table=\"tsmdm030\"} 0"),
                                      Contains("qrx_trail_gap_seconds{table=\"tsmdm030\"} 0"),
                                      Contains("qrx_runs_total{table=\"tsmdm030\",outcome=\"failed\"} 1"),
                                      Contains("qrx_runs_total{table=\"tsmdm030\",outcome=\"ok\"} 1"),
                                      Contains("# TYPE qrx_runs_total counter")));
    EXPECT_THAT(metrics, Not(HasSubstr("qrx_last_verified_seconds")));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0604));  // the collector's
    EXPECT_THAT(Files(), Not(Contains(HasSubstr(".new"))));
}

TEST_F(TheStatus, NotesADamagedHistoryAndAStateDirectoryThatCannotBeUsed) {
    GivenRuns({{.run = "20261121-100000"}});
    GivenHistoryLine("{\"schema\":1,\"run\":\"2026");
    const Finished damaged = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(damaged.exitCode, 0);
    EXPECT_THAT(damaged.out, ContainsRegex("\nnote     history   1 line of (.|\n)*line 2\n"));
    GivenFile(State() / "VERSION", "99");
    const Finished newer = Qrxctl({"status", "tsmdm030"});
    EXPECT_EQ(newer.exitCode, 0);
    EXPECT_THAT(newer.out, HasSubstr("\nnote     books     "));
    EXPECT_THAT(newer.out, HasSubstr("newer"));
}

TEST_F(TheStatus, IsRewrittenInPlaceOnATerminalUntilQIsPressed) {
    setenv("TERM", "xterm", 1);
    Terminal terminal({IQRX_QRXCTL, "--connection", Connection(), "status", "tsmdm030", "--watch", "1s"},
                      directory);
    ASSERT_TRUE(terminal.Shows("never copied\x1b[K"));
    Lock("tsmdm030");
    ASSERT_TRUE(terminal.Shows("locked, unknown\x1b[K")) << terminal.Screen();
    terminal.Type("q");
    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_THAT(terminal.Screen(), HasSubstr("\x1b[H"));
}

TEST_F(TheStatus, EndsWatchingOnCtrlC) {
    Terminal terminal({IQRX_QRXCTL, "--connection", Connection(), "status", "tsmdm030", "--watch"}, directory);
    ASSERT_TRUE(terminal.Shows("never copied"));
    terminal.Type("\x03");
    EXPECT_EQ(terminal.Wait(), 0);
}

TEST_F(TheStatus, ShowsOneStateAfterTheOtherOnAPipe) {
    const fs::path shown = directory / "shown";
    Child watching({"/bin/sh", "-c",
                    std::string("exec ") + IQRX_QRXCTL + " --connection '" + Connection() +
                        "' status tsmdm030 --watch 1s > shown"},
                   directory);
    const auto states = [&] {
        int count = 0;
        for (const std::string& line : Lines(ReadText(shown))) count += line.starts_with("scheduling.db");
        return count;
    };
    for (int wait = 0; states() < 2 && wait < 600; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_GE(states(), 2);
    EXPECT_THAT(ReadText(shown), Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace iqrx::testing
