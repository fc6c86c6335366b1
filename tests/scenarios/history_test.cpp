// What ran, when, and how it ended; and what is taken away of it when it is old.
#include <fstream>

#include "scenarios/books.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr long kDay = 86400;

class TheHistory : public SiteWithBooks {
protected:
    fs::path LogOfToday(const std::string& table) const { return logs / (table + "_" + Today() + ".log"); }
    std::vector<std::string> FilesIn(const fs::path& where) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(where)) names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
};

TEST_F(TheHistory, ShowsTheRunsOfATableTheNewestFirst) {
    GivenRuns(
        {{.run = "20261120-023000",
          .table = "tssoc200",
          .outcome = "guard",
          .cause = "would remove 37 of 40",
          .copied = std::nullopt,
          .removed = std::nullopt},
         {.run = "20261121-103600", .table = "tssoc200", .outcome = "stopped", .cause = "by SIGINT", .copied = 412300},
         {.run = "20261121-105000",
          .table = "tssoc200",
          .method = "incremental",
          .outcome = "in use",
          .cause = "20261121-103600",
          .copied = 0},
         {.run = "20261121-105500", .table = "tsmdm030"},
         {.run = "20261121-110000", .table = "tssoc200", .method = "incremental", .copied = 4, .removed = 1}});

    const Finished run = Qrxctl({"history", "tssoc200"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(Lines(run.out),
                ElementsAre("run             method         copied removed seconds  ended",
                            "20261121-110000 incremental         4       1    0.02  ok",
                            "20261121-105000 incremental         -       -    0.02  in use: 20261121-103600",
                            "20261121-103600 full          412,300       0    0.02  stopped by SIGINT (anna)",
                            "20261120-023000 full                -       -    0.02  guard",
                            "                would remove 37 of 40"));
    ExpectNarrow(run.out);
}

TEST_F(TheHistory, NamesTheTablesWhereThereAreSeveralAndMarksRunsOfTheService) {
    GivenRuns({{.run = "20261121-105500", .table = "tsmdm030"},
               {.run = "20261121-110000", .table = "tssoc200", .program = "iQRXyQRXSync"}});
    const Finished run = Qrxctl({"history"});
    EXPECT_THAT(Lines(run.out),
                ElementsAre("run             table    method         copied removed seconds  ended",
                            "20261121-110000 tssoc200 full                5       0    0.02  ok (service)",
                            "20261121-105500 tsmdm030 full                5       0    0.02  ok"));
    EXPECT_THAT(Lines(Qrxctl({"history", "orders"}).out), SizeIs(2));
    EXPECT_THAT(Lines(Qrxctl({"history", "tss*", "tsmdm030"}).out), SizeIs(3));
    const Finished unknown = Qrxctl({"history", "tssoc20"});
    EXPECT_EQ(unknown.exitCode, 64);
    EXPECT_THAT(unknown.err, IsOneLineWith("tssoc20"));
}

TEST_F(TheHistory, KeepsItsColumnsWhereRunsBeganInTheSameSecond) {
    GivenRuns(
        {{.run = "20261121-110000", .cause = ""},
         {.run = "20261121-110000-2", .outcome = "failed", .cause = "no such table: tsmdm030, nor any other"},
         {.run = "20261121-110001"}});
    const Finished run = Qrxctl({"history"});
    EXPECT_THAT(Lines(run.out), ElementsAre("run               method         copied removed seconds  ended",
                                            "20261121-110001   full                5       0    0.02  ok",
                                            "20261121-110000-2 full                5       0    0.02  failed",
                                            "                  no such table: tsmdm030, nor any other",
                                            "20261121-110000   full                5       0    0.02  ok"));
    ExpectNarrow(run.out);
}

TEST_F(TheHistory, TellsWhatTheGuardStoppedOnceAndInGroupsOfThousands) {
    GivenRuns({{.run = "20261121-110000",
                .outcome = "guard",
                .cause = "would remove 44252 of 44292 rows (99 %, limit 10 %)"}});
    const Finished run = Qrxctl({"history"});
    EXPECT_THAT(Lines(run.out).back(), "                would remove 44,252 of 44,292 rows (99 %, limit 10 %)");
    EXPECT_THAT(Qrxctl({"history", "20261121-110000"}).out,
                HasSubstr("outcome   guard: would remove 44,252 of 44,292 rows (99 %, limit 10 %)\n"));
    EXPECT_THAT(Qrxctl({"status", "tsmdm030"}).out, HasSubstr("would remove 44,252 of 44,292 rows"));
    EXPECT_THAT(Qrxctl({"history", "--json"}).out, HasSubstr("would remove 44252 of 44292 rows"));
}

TEST_F(TheHistory, ChoosesByOutcomeAndByAge) {
    GivenRuns({{.run = "1-1", .outcome = "failed", .cause = "no disk", .secondsAgo = 9 * kDay},
               {.run = "1-2", .secondsAgo = 9 * kDay},
               {.run = "1-3", .outcome = "failed", .cause = "no disk", .secondsAgo = kDay},
               {.run = "1-4", .outcome = "in use", .secondsAgo = kDay},
               {.run = "1-5"}});
    const auto runs = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> names;
        for (const std::string& line : Lines(Qrxctl(arguments).out))
            if (line.starts_with("1-")) names.push_back(line.substr(0, 3));
        return names;
    };
    EXPECT_THAT(runs({"history", "--failed"}), ElementsAre("1-3", "1-1"));
    EXPECT_THAT(runs({"history", "--since", "7d"}), ElementsAre("1-5", "1-4", "1-3"));
    EXPECT_THAT(runs({"history", "--since", LocalSecondsAgo(2 * kDay).substr(0, 10), "--failed"}),
                ElementsAre("1-3"));
    EXPECT_THAT(runs({"history", "-q"}), ElementsAre("1-3", "1-1"));
    EXPECT_EQ(Qrxctl({"history", "--since", "lately"}).exitCode, 64);
}

TEST_F(TheHistory, ShowsEverythingAboutOneRunWithItsLog) {  // B5
    GivenExtract("tsmdm030.csv", kServiceTypes);
    Qrxctl({"copy", "tsmdm030", "--full"});
    std::ofstream(LogOfToday("tsmdm030"), std::ios::app)
        << LocalSecondsAgo(-3000).substr(0, 10) << " 23:59:59\n\"Records inserted: tsmdm030 -  77\"\n";
    GivenRuns({{.run = "20261121-105500", .took = 300, .copied = 3, .rows = 3}, {.run = "20261121-105600"}});

    const Finished run = Qrxctl({"history", "20261121-105500"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, StartsWith("run       20261121-105500\n"
                                    "program   qrxctl copy --all --full\n"
                                    "by        anna\n\n"
                                    "table     tsmdm030 full\n"
                                    "began     2"));
    EXPECT_THAT(run.out, HasSubstr("outcome   ok\nrows      3 copied, 0 removed, 3 afterwards\nlog       "));
    EXPECT_THAT(run.out, HasSubstr("          \"Records inserted: tsmdm030 -  3\"\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("77")));
    EXPECT_EQ(Qrxctl({"history", "20200101-000000"}).exitCode, 64);
}

TEST_F(TheHistory, SaysThatTheLogOfARunIsGone) {
    GivenRuns({{.run = "20261121-105500"}});
    EXPECT_THAT(Qrxctl({"history", "20261121-105500"}).out,
                ContainsRegex("\nlog       (.|\n)*tsmdm030_[0-9]+.log: is(.|\n)*not there\n"));
}

TEST_F(TheHistory, NotesDamagedLinesWithTheirPlaceAndShowsTheOthers) {
    GivenRuns({{.run = "20261121-105500"}});
    GivenHistoryLine("{\"schema\":1,\"run\":\"2026");
    GivenRuns({{.run = "20261121-110000"}});
    const Finished run = Qrxctl({"history"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.out), SizeIs(3));
    EXPECT_THAT(run.err, AllOf(StartsWith("note     history   1 line of "), ContainsRegex("line[ \n]+2\n$")));
}

TEST_F(TheHistory, IsOneObjectOfJson) {
    GivenRuns({{.run = "20261121-105500", .cause = "", .copied = std::nullopt}, {.run = "20261121-110000"}});
    const std::string json = Qrxctl({"history", "--json"}).out;
    EXPECT_THAT(Lines(json), SizeIs(1));
    const auto from = [&](const std::string& path) {
        return JsonCell("SELECT json_extract('" + json + "', '$." + path + "')");
    };
    EXPECT_EQ(from("schema"), "1");
    EXPECT_EQ(from("runs[0].run"), "20261121-110000");
    EXPECT_EQ(from("runs[1].copied"), "NULL");
    EXPECT_EQ(from("runs[1].table"), "tsmdm030");
}

TEST_F(TheHistory, IsEmptyWhereNothingRan) {
    const Finished run = Qrxctl({"history"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, IsOneLineWith("no such run in " + (State() / "history.jsonl").string()));
    EXPECT_EQ(Qrxctl({"history", "-q"}).err, "");
    EXPECT_FALSE(fs::exists(State()));
}

TEST_F(TheHistory, IsPrunedWithTheLogsAndUndoFilesOfThatTime) {
    GivenRuns({{.run = "1-1", .secondsAgo = 500 * kDay}, {.run = "1-2", .secondsAgo = kDay}});
    fs::create_directories(State() / "undo");
    for (const char* log :
         {"tssoc200_20200101.log", "tssoc200_20991231.log", "QRXevtLG.txt", "notes_20200101.log"})
        GivenFile(logs / log, "x");
    for (const char* undo : {"20200101-104032-tssoc200.undo.sql", "20991231-104032-tssoc200.undo.sql"})
        GivenFile(State() / "undo" / undo, "x");

    const Finished run = Qrxctl({"history", "--prune", "400d"});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.out),
                ElementsAre("ok       history   removed 1 run from before " +
                                LocalSecondsAgo(400 * kDay).substr(0, 10) + ", 1 kept",
                            "ok       logs      removed 1 file", "ok       undo      removed 1 file"));
    EXPECT_THAT(FilesIn(logs), ElementsAre("QRXevtLG.txt", "notes_20200101.log", "tssoc200_20991231.log"));
    EXPECT_THAT(FilesIn(State() / "undo"), ElementsAre("20991231-104032-tssoc200.undo.sql"));
    EXPECT_THAT(Lines(ReadText(State() / "history.jsonl")), SizeIs(1));
    EXPECT_EQ(Qrxctl({"history", "--prune", "400d", "-q"}).out, "");
    EXPECT_EQ(Qrxctl({"history", "tssoc200", "--prune", "400d"}).exitCode, 64);
}

TEST_F(TheHistory, IsPrunedInJsonToo) {
    GivenRuns({{.run = "1-1", .secondsAgo = 500 * kDay}});
    GivenFile(logs / "tssoc200_20200101.log", "x");
    const std::string before = LocalSecondsAgo(400 * kDay).substr(0, 10);
    EXPECT_EQ(Qrxctl({"history", "--prune", "400d", "--json"}).out,
              R"({"schema":1,"before":")" + before +
                  R"(","runs_removed":1,"runs_kept":0,"logs_removed":1,"undo_files_removed":0,"problems":[]})" +
                  "\n");
}

TEST_F(TheHistory, ThatCannotBePrunedWholeFails) {
    GivenRuns({{.run = "1-1", .secondsAgo = kDay}});
    const Finished run = BareQrxctl({"--connection", Connection(), "--state-dir", State().string(), "--log-dir",
                                     (directory / "nowhere").string(), "history", "--prune", "400d", "-q"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("failed   files     "));
    EXPECT_THAT(run.err, HasSubstr("cannot be looked through: "));
}

TEST_F(TheHistory, IsNotPrunedOfTheFuture) {
    GivenRuns({{.run = "1-1", .secondsAgo = kDay}});
    const Finished run = Qrxctl({"history", "--prune", "2099-01-01"});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("--prune 2099-01-01 lies in the future"));
    EXPECT_THAT(Lines(ReadText(State() / "history.jsonl")), SizeIs(1));
}

}  // namespace
}  // namespace iqrx::testing
