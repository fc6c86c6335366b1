// The service as a scheduling server starts it: exit codes, the three logs, and what it tells its caller.
#include <sys/stat.h>

#include <regex>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* kDateTime = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}";

class TheService : public Site {
protected:
    TheService() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    }
    void GivenTableInUse() const { Execute("UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm030'"); }
    void GivenMalformedRow() const {
        GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Advice,,,many");
    }
    std::string Written(const char* log) const { return ReadText(logs / log); }
};

TEST_F(TheService, CompletesARequestOfTwelveArgumentsInSilence) {
    const Finished run = Service(FullCopy());
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(TheService, AnswersOneForAFailedCopyAndNamesTheCause) {
    GivenMalformedRow();
    const Finished run = Service(FullCopy());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("tsmdm030.csv, line 2, column 'dahe'"));
}

TEST_F(TheService, TurnsCalendarRunsAwayWhileTheCalendarsAreInUse) {
    Execute("UPDATE tstables SET in_use = 1 WHERE tablename = 'tcccp030'");
    for (const char* table : {"18", "98", "99"}) {
        Request request = FullCopy();
        request.table = table;
        EXPECT_EQ(Service(request).exitCode, 2) << table;
    }
    EXPECT_TRUE(InUse("tcccp030"));
}

TEST_F(TheService, HidesItsPasswordFromTheListOfProcesses) {
    fs::remove(extract / "tsmdm030.csv");
    ASSERT_EQ(mkfifo((extract / "tsmdm030.csv").c_str(), 0600), 0);  // it waits there for its records
    Request request = FullCopy();
    request.connection = Connection() + ";Password=s3cret";
    const Child service(ServiceCommand(request), directory);
    WaitUntil([&] { return service.Listed().find("Password=***") != std::string::npos; });
    EXPECT_THAT(service.Listed(), Not(HasSubstr("s3cret")));
}

TEST_F(TheService, AnswersTwoForATableInUseAndLeavesItLocked) {
    GivenTableInUse();
    EXPECT_EQ(Service(FullCopy()).exitCode, 2);
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());
    EXPECT_TRUE(InUse("tsmdm030"));
}

TEST_F(TheService, DoesNothingForAMethodThatIsNeitherFullNorIncremental) {
    Request request = FullCopy();
    request.method = "3";
    EXPECT_EQ(Service(request).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());
    EXPECT_EQ(LastUpdate("tsmdm030"), "NULL");
}

TEST_F(TheService, TakesItsArgumentsAsSeveralWordsToo) {
    std::vector<std::string> command{IQRX_SERVICE};
    std::string words = FullCopy().Text();
    for (auto blank = words.find(' '); blank != std::string::npos; blank = words.find(' ')) {
        command.push_back(words.substr(0, blank));
        words.erase(0, blank + 1);
    }
    command.push_back(words);
    EXPECT_THAT(command, SizeIs(3));  // "Data Source" has a blank
    EXPECT_EQ(RunToEnd(command, directory).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
}

TEST_F(TheService, AnnouncesEveryStartInTheEventLog) {
    Service(FullCopy());
    Service(FullCopy());
    EXPECT_THAT(Lines(Written("QRXevtLG.txt")), ElementsAre(HasSubstr("The data copy service has started."),
                                                            HasSubstr("The data copy service has started.")));
}

TEST_F(TheService, WritesItsCountsToOneLogPerTableAndDay) {
    Service(FullCopy());
    Service(IncrementalCopy());
    Request again = IncrementalCopy();
    Execute("UPDATE tstables SET lutm = '2025-06-20 00:00:00' WHERE tablename = 'tsmdm030'");
    Service(again);

    EXPECT_THAT(Lines(RunLog("tsmdm030")),
                ElementsAre(MatchesRegex(kDateTime), "\"Records inserted: tsmdm030 -  3\"",  //
                            MatchesRegex(kDateTime), "\"Records inserted: tsmdm030 -  0\"",  //
                            MatchesRegex(kDateTime), "\"Records inserted: tsmdm030 -  1\"",
                            "\"Records updated: tsmdm030 -  1\"", "\"Records deleted: tsmdm030 -  1\""));
}

TEST_F(TheService, WritesTheDetailsOfAFailureToTheRunLog) {
    GivenMalformedRow();
    Service(FullCopy());
    const std::string log = RunLog("tsmdm030");
    EXPECT_THAT(log, HasSubstr("\"Date-Time :"));
    EXPECT_THAT(log, HasSubstr("tsmdm030.csv, line 2, column 'dahe'"));
    EXPECT_THAT(log, HasSubstr("Data Copy: The copy of Service Types failed."));
    EXPECT_THAT(log, Not(HasSubstr("Records inserted")));
}

TEST_F(TheService, WritesToTheCurrentDirectoryWhenTheLogDirectoryIsBlank) {
    Request request = FullCopy();
    request.logDirectory = " ";
    EXPECT_EQ(Service(request).exitCode, 0);
    EXPECT_TRUE(fs::is_empty(logs));
    EXPECT_TRUE(fs::exists(directory / "QRXevtLG.txt"));
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory))
        found.push_back(entry.path().filename().string());
    EXPECT_THAT(found, ::testing::Contains(MatchesRegex("tsmdm030_[0-9]{8}\\.log")));

    request.table = "none";
    EXPECT_EQ(Service(request).exitCode, 1);
    EXPECT_TRUE(fs::exists(directory / "iQRXyDBSync.log"));
}

TEST_F(TheService, WritesWhatFailsBeforeARunToTheRequestErrorLog) {
    Request request = FullCopy();
    request.statusKey = "seven";

    const Finished run = Service(request);

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("The status key (seven) must be a number"));
    EXPECT_THAT(
        Lines(Written("iQRXyDBSync.log")),
        ElementsAre(MatchesRegex(kDateTime), "The copy request failed.",
                    AllOf(HasSubstr("Error is - "), HasSubstr("The status key (seven) must be a number")),
                    HasSubstr("")));
}

// With eleven arguments a scheduler has sent the request: instance 3 of it hears what happens.
class TheScheduler : public TheService {
protected:
    // What the instance registry and the instance object were told, times as T.
    std::vector<std::string> Hears(Request request, int exitCode) {
        request.instance = "3";
        last = Service(request, {{"QRX_INSTANCE", (directory / "instance").string()}}, 11);
        EXPECT_EQ(last.exitCode, exitCode) << last.err;
        std::vector<std::string> lines = Lines(ReadText(directory / "instance"));
        for (std::string& line : lines)
            line = std::regex_replace(line, std::regex("\"[0-9]{2}:[0-9]{2}:[0-9]{2}\""), "\"T\"");
        return lines;
    }
    Finished last;
};

constexpr const char* kFetched = R"({"call":"getInstance","args":[3]})";
constexpr const char* kNumbered = R"({"set":"CurrentInstanceNumber","value":3})";
constexpr const char* kStarted =
    R"({"call":"writeToMessageBox","args":["The copy of Service Types (tsmdm030) has started.","T"]})";
constexpr const char* kStatusStarted = R"({"call":"UpdateSyncStatus","args":[1,"T"]})";
constexpr const char* kStatusComplete = R"({"call":"UpdateSyncStatus","args":[2,"T"]})";
constexpr const char* kStatusFailed = R"({"call":"UpdateSyncStatus","args":[3,"T"]})";
constexpr const char* kCompleteThree =
    R"({"call":"writeToMessageBox","args":["The copy of Service Types (tsmdm030) is complete: 3 inserted, 0 updated, 0 deleted.","T"]})";

TEST_F(TheScheduler, HearsOfACompletedRequest) {
    EXPECT_THAT(Hears(FullCopy(), 0),
                ElementsAre(kFetched, kNumbered, kStarted, kStatusStarted, kCompleteThree, kStatusComplete));
}

TEST_F(TheScheduler, HearsOfATableInUse) {
    GivenTableInUse();
    EXPECT_THAT(
        Hears(FullCopy(), 2),
        ElementsAre(
            kFetched, kNumbered,
            R"({"call":"writeToMessageBox","args":["Service Types (tsmdm030) is already being copied; nothing was done.","T"]})"));
}

TEST_F(TheScheduler, HearsOfAFailedCopyAndWhereItsDetailsAre) {
    GivenMalformedRow();
    const auto heard = Hears(FullCopy(), 1);
    const std::string alert =
        R"(\{"call":"WriteToAlertBox","args":\["The copy of table tsmdm030 failed with error -1: DataCopy Failed, see logfile ')" +
        logs.string() + R"(/tsmdm030_[0-9]{8}\.log' for details","T"\]\})";
    EXPECT_THAT(
        heard,
        ElementsAre(kFetched, kNumbered, kStarted, kStatusStarted,
                    R"({"call":"writeToMessageBox","args":["The copy of Service Types (tsmdm030) failed.","T"]})",
                    MatchesRegex(alert), kStatusFailed));
    EXPECT_THAT(last.err, IsOneLineWith("line 2, column 'dahe'"));
}

TEST_F(TheScheduler, HearsTheStatusOfTheTableWhenItGaveAStatusKey) {
    Request request = FullCopy();
    request.statusKey = "77";
    const auto status = [](int code) {
        return R"({"call":"UpdateStatusByTable","args":["Service Types","tsmdm030",)" + std::to_string(code) +
               ",77]}";
    };
    EXPECT_THAT(Hears(request, 0), ElementsAre(kFetched, kNumbered, kStarted, kStatusStarted, status(2),
                                               kCompleteThree, kStatusComplete, status(4)));
    fs::remove(directory / "instance");
    GivenTableInUse();
    EXPECT_THAT(Hears(request, 2),
                ElementsAre(kFetched, kNumbered, HasSubstr("already being copied"), status(8)));

    fs::remove(directory / "instance");
    Execute("UPDATE tstables SET in_use = 0");
    GivenMalformedRow();
    EXPECT_THAT(Hears(request, 1),
                ElementsAre(kFetched, kNumbered, kStarted, kStatusStarted, status(2), HasSubstr("failed."),
                            HasSubstr("WriteToAlertBox"), kStatusFailed, status(16)));
}

TEST_F(TheScheduler, HearsNothingMoreOfARequestForAllTablesWhichCopiesNone) {
    Request request = FullCopy();
    request.table = "128";
    EXPECT_THAT(Hears(request, 0), ElementsAre(kFetched, kNumbered));
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());
}

TEST_F(TheScheduler, HearsOfATableThatNoRoutineCopiesAsCompleteWithNoRecords) {
    Execute(
        "INSERT INTO tstables (tablename, in_use, reqd, FilterFlag, ERPTableID, tableid, productid) "
        "VALUES ('tsother', 0, 1, 0, 'tsother', 50, '1028');"
        "INSERT INTO tstreenodes (tableid, groupid, label) VALUES (50, 'SYNC', 'OTHER');"
        "INSERT INTO tsi18ntext (label, text) VALUES ('OTHER', 'Other Things')");
    Request request = FullCopy();
    request.table = "50";
    EXPECT_THAT(
        Hears(request, 0),
        ElementsAre(
            kFetched, kNumbered,
            R"({"call":"writeToMessageBox","args":["The copy of Other Things (tsother) has started.","T"]})",
            kStatusStarted,
            R"({"call":"writeToMessageBox","args":["The copy of Other Things (tsother) is complete: 0 inserted, 0 updated, 0 deleted.","T"]})",
            kStatusComplete));
    EXPECT_THAT(last.err, IsOneLineWith("No copy exists for this table. Check the table catalog (tstables)."));
    EXPECT_FALSE(InUse("tsother"));
}

TEST_F(TheScheduler, ThatCannotBeReachedLeavesAFailedRequestInTheRequestErrorLog) {
    const Finished run = Service(FullCopy(), {}, 11);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("iQRXyInstHandler.InstanceHandle"));
    EXPECT_THAT(Written("iQRXyDBSync.log"),
                AllOf(HasSubstr("Error is - 429: "), HasSubstr("iQRXyInstHandler.InstanceHandle")));
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(TheScheduler, IsNotToldOfAStandaloneRequest) {
    EXPECT_EQ(Service(FullCopy(), {{"QRX_INSTANCE", (directory / "instance").string()}}).exitCode, 0);
    EXPECT_FALSE(fs::exists(directory / "instance"));
}

}  // namespace
}  // namespace iqrx::testing
