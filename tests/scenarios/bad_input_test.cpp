// What goes wrong on a site: each case ends in one line that names the cause, the table is free again, its
// rows and its last update are what they were or what the copy had confirmed.
#include <sys/stat.h>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kBefore = "2025-06-19 23:00:00";

// Service types of an earlier copy: ADV and OLD.
class BadInput : public Site {
protected:
    BadInput() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
        Execute(
            "INSERT INTO tsmdm030 (cstp, dsca, prod, ract, dahe, upd_flag) VALUES"
            " ('ADV', 'Advice', 'REMOTE', 'ONC', 1, 0), ('OLD', 'Old', '', '', 0, 0);"
            "UPDATE tstables SET lutm = '2025-06-19 23:00:00' WHERE tablename = 'tsmdm030'");
        before_ = Rows(kSelectServiceTypes);
    }

    // A request that fails in one line with this text and leaves nothing behind.
    void ExpectFailure(const Finished& run, const std::string& text) const {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, IsOneLineWith(text));
        ExpectFree();
    }
    void ExpectFree() const {
        EXPECT_FALSE(InUse("tsmdm030"));
        EXPECT_EQ(LastUpdate("tsmdm030"), kBefore);
    }
    void ExpectUntouched() const { EXPECT_EQ(Rows(kSelectServiceTypes), before_); }

private:
    std::vector<std::string> before_;
};

TEST_F(BadInput, AFileThatGrowsBeyondTheProcesssLimitIsAnErrorAndNotTheEndOfTheProcess) {
    std::string types = "cstp,desc,proc,ract,dahe";
    for (int i = 0; i < 30'000; ++i)
        types += "\nT" + std::to_string(i) + ",A long description of it,INSPECT,WRK,2";
    GivenExtract("tsmdm030.csv", types);
    constexpr const char* kWithAMegabyteAFile = "ulimit -f 2048; exec \"$0\" \"$@\"";
    std::vector<std::string> command = ServiceCommand(FullCopy());
    command.insert(command.begin(), {"/bin/sh", "-c", kWithAMegabyteAFile});

    const Finished run = RunToEnd(command, directory);
    EXPECT_EQ(run.exitCode, 1) << "a signal would have ended it with more";
    EXPECT_THAT(Lines(run.err), ::testing::Each(HasSubstr("disk I/O error")));
    // Where what is committed fills the limit to its last page the unlocking does not fit either: that is said.
    EXPECT_EQ(InUse("tsmdm030"), run.err.find("tsmdm030 stays locked") != std::string::npos);
    Execute("UPDATE tstables SET in_use = 0");

    EXPECT_EQ(Service(FullCopy()).exitCode, 0);
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), "30000");
}

class BadRequest : public BadInput {
protected:
    void ExpectRefused(const Request& request, const std::string& text, std::size_t arguments = 12) const {
        ExpectFailure(Service(request, {}, arguments), text);
        ExpectUntouched();
        EXPECT_THAT(ReadText(logs / "iQRXyDBSync.log"), HasSubstr("Error is - "));
    }
};

TEST_F(BadRequest, WithFewerThanSevenArguments) {
    ExpectRefused(FullCopy(), "fewer than seven arguments", 6);
}

TEST_F(BadRequest, WithoutAnyArgument) {
    const Finished run = RunToEnd({IQRX_SERVICE}, directory);
    ExpectFailure(run, "fewer than seven arguments");
    EXPECT_TRUE(fs::exists(directory / "iQRXyDBSync.log"));
}

TEST_F(BadRequest, WithSevenArgumentsButNoPlatform) {
    ExpectRefused(FullCopy(), "argument 8 is missing: there are 7, a request has 11 or 12", 7);
}

TEST_F(BadRequest, WithoutATreeGroup) { ExpectRefused(FullCopy(), "argument 10", 10); }

TEST_F(BadRequest, WithATextForTheTable) {
    Request request = FullCopy();
    request.table = "tsmdm030";
    ExpectRefused(request, "Type mismatch: argument 2, the table id, is \"tsmdm030\"");
}

TEST_F(BadRequest, WithATextForTheMethod) {
    Request request = FullCopy();
    request.method = "full";
    ExpectRefused(request, "Type mismatch: argument 3, the method, is \"full\"");
}

TEST_F(BadRequest, WithATextForThePlatform) {
    Request request = FullCopy();
    request.platform = "sqlserver";
    ExpectRefused(request, "Type mismatch: argument 8, the platform, is \"sqlserver\"");
}

TEST_F(BadRequest, WithATextForTheStatusKey) {
    Request request = FullCopy();
    request.statusKey = "key";
    ExpectRefused(request, "The status key (key) must be a number");
}

TEST_F(BadRequest, WithATableBeyondTheCatalog) {
    Request request = FullCopy();
    request.table = "129";
    ExpectRefused(request, "table id 129");
}

TEST_F(BadRequest, WithATableBelowTheCatalogIsToldToItsSchedulerWithTheBareId) {
    Request request = FullCopy();
    request.table = "-1";
    request.statusKey = "7";
    const fs::path instance = directory / "instance";
    ExpectFailure(Service(request, {{"QRX_INSTANCE", instance.string()}}, 11), "table id -1");
    EXPECT_THAT(ReadText(instance), HasSubstr("\"UpdateStatusByTable\",\"args\":[\"-1\",\"-1\",16,7]"));
    EXPECT_THAT(ReadText(logs / "iQRXyDBSync.log"), HasSubstr("table id -1"));
}

TEST_F(BadRequest, WithATreeGroupThatHasNoTables) {
    Request request = FullCopy();
    request.group = "NONE";
    ExpectRefused(request, "tstables or tstreenodes table is empty .. Cannot Proceed");
}

TEST_F(BadRequest, WithAConnectionStringOfNoKnownForm) {
    Request request = FullCopy();
    request.connection = "Server=here";
    const Finished run = Service(request);
    ExpectFailure(run, "Provider=SQLite;Data Source=FILE");
    EXPECT_THAT(run.err, HasSubstr("DSN="));
    ExpectUntouched();
}

TEST_F(BadRequest, WithARunParameterThatNamesNoErp) {
    Request request = FullCopy();
    request.runParameter = "extracts";
    const Finished run = Service(request);
    ExpectFailure(run, "extract=DIRECTORY");
    ExpectUntouched();
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("extract=DIRECTORY"));
}

class BadExtract : public BadInput {};

TEST_F(BadExtract, ThatIsNotThere) {
    Request request = FullCopy();
    request.runParameter = "extract=" + (directory / "nowhere").string();
    ExpectFailure(Service(request), (directory / "nowhere").string() + " does not exist");
    request.method = kIncremental;
    ExpectFailure(Service(request), (directory / "nowhere").string() + " does not exist");
    ExpectUntouched();
}

TEST_F(BadExtract, ThatIsAFile) {
    Request request = FullCopy();
    request.runParameter = "extract=" + (extract / "tsmdm030.csv").string();
    ExpectFailure(Service(request), "tsmdm030.csv is not a directory");
    ExpectUntouched();
}

// A directory in the file's place can't be read by anybody, whatever the rights of who runs the test.
TEST_F(BadExtract, WithAFileThatCannotBeRead) {
    for (const char* file : {"tsmdm030.csv", "tsmdm030.audit.csv"}) {
        fs::remove(extract / file);
        fs::create_directory(extract / file);
    }
    ExpectFailure(Service(FullCopy()), "tsmdm030.csv cannot be read: it is a directory");
    ExpectFailure(Service(IncrementalCopy()), "tsmdm030.audit.csv cannot be read: it is a directory");
    ExpectUntouched();
}

TEST_F(BadExtract, WhoseDirectoryTheRunParameterLeavesOut) {
    Request request = FullCopy();
    request.runParameter = "extract=";
    ExpectFailure(Service(request), "The directory is missing from the run parameter");
    ExpectUntouched();
}

TEST_F(BadExtract, WithoutAFile) {
    for (const char* file : {"tsmdm030.csv", "tsmdm030.audit.csv"}) fs::remove(extract / file);
    ExpectFailure(Service(FullCopy()), (extract / "tsmdm030.csv").string() + " does not exist");
    ExpectFailure(Service(IncrementalCopy()), (extract / "tsmdm030.audit.csv").string() + " does not exist");
    ExpectUntouched();
}

TEST_F(BadExtract, WithoutAColumn) {
    GivenExtract("tsmdm030.csv", "code,desc,ract,dahe\nADV,Advice,ONC,1");
    GivenExtract("tsmdm030.audit.csv",
                 "changed_at,change,cstp,desc,proc,ract\n2025-06-20 08:00:00,U,ADV,Advice,,");
    ExpectFailure(Service(FullCopy()), "tsmdm030.csv has no columns 'cstp', 'proc'");
    ExpectFailure(Service(IncrementalCopy()), "tsmdm030.audit.csv has no column 'dahe'");
    ExpectUntouched();
}

TEST_F(BadExtract, WithAnEmptyFile) {
    for (const char* file : {"tsmdm030.csv", "tsmdm030.audit.csv"}) fs::resize_file(extract / file, 0);
    ExpectFailure(Service(FullCopy()), "tsmdm030.csv is empty");
    ExpectFailure(Service(IncrementalCopy()), "tsmdm030.audit.csv is empty");
    ExpectUntouched();
}

TEST_F(BadExtract, WithAFileThatASpreadsheetSavedItsOwnWay) {
    GivenExtract("tsmdm030.csv", "cstp;desc;proc;ract;dahe\nADV;Advice;REMOTE;ONC;1");
    ExpectFailure(Service(FullCopy()), "tsmdm030.csv is separated by ';', not by commas");
    GivenExtract("tsmdm030.csv", std::string("\xFF\xFE"
                                             "c\0s\0t\0p\0",
                                             10));
    ExpectFailure(Service(FullCopy()), "tsmdm030.csv looks like UTF-16; it must be UTF-8");
    ExpectUntouched();
}

TEST_F(BadExtract, WithBytesThatAreNotUtf8) {
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Beratung f\xFCr alle,REMOTE,ONC,1");
    ExpectFailure(Service(FullCopy()),
                  "tsmdm030.csv, line 2, column 'desc': 'Beratung f\\xFCr alle' is not UTF-8");
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("ADV", "OLD"));
}

TEST_F(BadExtract, ThatForgesALogLineIsFoundOut) {
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Advice,REMOTE,ONC,\"1\r\nall is well\"");
    ExpectFailure(Service(FullCopy()),
                  "column 'dahe': '1\\x0D\\x0Aall is well' is not a whole number of 32 bits");
    EXPECT_THAT(Lines(RunLog("tsmdm030")), Not(Contains(StartsWith("all is well"))));
}

// Rows before the malformed one are written, the rest wait for a confirmation, nothing is removed.
TEST_F(BadExtract, WithAMalformedRowInTheMiddle) {
    GivenExtract("tsmdm030.csv",
                 "cstp,desc,proc,ract,dahe\n"
                 "ADV,Advice by telephone,REMOTE,ONC,1\n"
                 "INS,\"Inspection\nof all parts\",INSPECT,WRK,2\n"
                 "REP,Repair,REPAIR,ONC,often\n"
                 "WIN,Winter check,INSPECT,WRK,2");

    ExpectFailure(Service(FullCopy()), "tsmdm030.csv, line 5, column 'dahe': 'often'");

    EXPECT_THAT(Rows(kSelectServiceTypes),
                ElementsAre("ADV|Advice by telephone|REMOTE|ONC|1|0",
                            "INS|Inspection\nof all parts|INSPECT|WRK|0|0", "OLD|Old|||0|1"));

    GivenExtract("tsmdm030.csv", kServiceTypes);
    EXPECT_EQ(Service(FullCopy()).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes),
                ElementsAre("ADV|Advice by telephone|REMOTE|ONC|1|0", "INS|Inspection|INSPECT|WRK|0|0",
                            "REP|Owner's repair|REPAIR|ONC|1|0"));
}

TEST_F(BadExtract, WithRowsOfTheWrongWidthOrWithStrayQuotes) {
    const std::string header = "cstp,desc,proc,ract,dahe\n";
    GivenExtract("tsmdm030.csv", header + "ADV,Advice");
    ExpectFailure(Service(FullCopy()), "line 2, column 'proc': the row ends before this column");
    GivenExtract("tsmdm030.csv", header + "ADV,Advice,,,1,more");
    ExpectFailure(Service(FullCopy()), "line 2, column 6");
    GivenExtract("tsmdm030.csv", header + "ADV,Ad\"vice,,,1");
    ExpectFailure(Service(FullCopy()), "line 2, column 'desc'");
    GivenExtract("tsmdm030.csv", header + "ADV,\"Advice,,,1");
    ExpectFailure(Service(FullCopy()), "line 2, column 'desc': the quote is not closed");
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("ADV", "OLD"));
}

TEST_F(BadExtract, WithAZeroByte) {
    const std::string key("A\0DV", 4);
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\n" + key + ",Advice,,,1");
    ExpectFailure(Service(FullCopy()), "line 2, column 'cstp': the cell holds a zero byte");
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("ADV", "OLD"));
}

TEST_F(BadExtract, WithAMissingNumber) {
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Advice,,,");
    ExpectFailure(Service(FullCopy()), "Invalid use of Null");
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("ADV", "OLD"));
}

// Changes before the malformed one stay; the last update does not move, so that the next run reads them again.
TEST_F(BadExtract, WithAMalformedRowInTheTrailIsReadAgainByTheNextRun) {
    GivenExtract("tsmdm030.audit.csv",
                 "changed_at,change,cstp,desc,proc,ract,dahe\n"
                 "2025-06-20 08:00:00,I,NEW,New installation,INSTALL,WRK,2\n"
                 "2025-06-20 10:00:00,X,ADV,Advice,REMOTE,ONC,1");

    ExpectFailure(Service(IncrementalCopy()), "tsmdm030.audit.csv, line 3, column 'change': 'X'");
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("ADV", "NEW", "OLD"));

    GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    const Finished repaired = Service(IncrementalCopy());
    EXPECT_EQ(repaired.exitCode, 0) << repaired.err;
    EXPECT_THAT(Rows("SELECT cstp || dsca FROM tsmdm030 ORDER BY cstp"),
                ElementsAre("INSYearly inspection", "NEWNew installation", "OLDOld"));
    EXPECT_THAT(LastUpdate("tsmdm030"), Not(kBefore));
}

TEST_F(BadExtract, IsNamedInTheToolsClosingTableToo) {
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Advice,,,often");
    const Finished run = Qrxctl({"copy", "tsmdm030", "--full"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, AllOf(HasSubstr("tsmdm030"), HasSubstr("failed"), HasSubstr("line 2, column 'dahe'")));
    ExpectFree();
}

class BadDatabase : public BadInput {
protected:
    // Both programs say the same of a database that they cannot use.
    void ExpectRefused(const std::string& text) const {
        const Finished service = Service(FullCopy());
        EXPECT_EQ(service.exitCode, 1);
        EXPECT_THAT(service.err, IsOneLineWith(text));
        EXPECT_THAT(service.err, HasSubstr(database.string()));
        const Finished tool = Qrxctl({"copy", "tsmdm030", "--full"});
        EXPECT_EQ(tool.exitCode, 1);
        ASSERT_NE(tool.err, "");
        EXPECT_THAT(Unwrapped(tool.err), AllOf(HasSubstr(text), HasSubstr(database.string())));
    }
};

TEST_F(BadDatabase, ThatIsNotThere) {
    fs::remove(database);
    ExpectRefused("does not exist");
    EXPECT_FALSE(fs::exists(database));
}

TEST_F(BadDatabase, ThatIsAnotherKindOfFile) {
    fs::remove(directory / "scheduling.db-wal");
    const std::string text(20'000, 'x');
    GivenFile(database, text);
    ExpectRefused("is not a database");
    EXPECT_EQ(ReadText(database), text + "\n");
}

TEST_F(BadDatabase, ThatIsADirectory) {
    fs::remove(database);
    fs::create_directory(database);
    ExpectRefused("is a directory");
}

TEST_F(BadDatabase, ThatIsReadOnly) {
    constexpr auto kWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(database, kWrite, fs::perm_options::remove);
    ExpectRefused("is read-only");
    fs::permissions(database, fs::perms::owner_write, fs::perm_options::add);
    ExpectFree();
    ExpectUntouched();
}

TEST_F(BadDatabase, ThatWasNeverInitialised) {
    fs::remove(database);
    GivenFile(database, "");
    fs::resize_file(database, 0);
    const Finished run = Service(FullCopy());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("no such table: tstables"));
}

TEST_F(BadDatabase, ThatLacksTheTargetTableFailsInOneLineAndUnlocks) {
    Execute("DROP TABLE tsmdm030");
    ExpectFailure(Service(FullCopy()), "no such table: tsmdm030");
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("no such table: tsmdm030"));
}

// The filter parameter is read after every copy; without its row the copy has been done and reported all the same.
TEST_F(BadDatabase, WithoutTheParametersRowIsCopiedAndStillTold) {
    Execute("DELETE FROM tsparameters");
    const Finished run = Service(FullCopy());
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("Could not get the Filter Flag"));
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("Could not get the Filter Flag"));
}

// The program with or without its texts beside it, in a directory of its own.
class Texts : public BadInput {
protected:
    Texts() {
        fs::create_directory(place);
        fs::copy_file(IQRX_SERVICE, place / "service");
    }
    Finished CopiedService(const Request& request, std::size_t arguments = 12) const {
        return RunToEnd({(place / "service").string(), request.Text(arguments)}, directory,
                        {{"QRX_INSTANCE", (directory / "instance").string()}});
    }
    // Everything works; each text is its label.
    void ExpectLabels() const {
        EXPECT_EQ(CopiedService(FullCopy(), 11).exitCode, 0);
        EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
        EXPECT_THAT(Lines(RunLog("tsmdm030")), ElementsAre("SLBL0143", "\"SLBL0375\""));
        EXPECT_THAT(ReadText(logs / "QRXevtLG.txt"), HasSubstr("SLBL0504"));
        EXPECT_THAT(ReadText(directory / "instance"), HasSubstr("\"args\":[\"SLBL0010\","));

        Request bad = FullCopy();
        bad.statusKey = "key";
        const Finished refused = CopiedService(bad);
        EXPECT_EQ(refused.exitCode, 1);
        EXPECT_THAT(refused.err, IsOneLineWith("SLBL0237"));
    }
    const fs::path place = directory / "program";
};

TEST_F(Texts, AreLabelsWhenTheirFileIsMissing) { ExpectLabels(); }

TEST_F(Texts, AreLabelsWhenTheirFileIsBroken) {
    GivenFile(place / "I18nText.xml", "<I18NTEXT><SLBL0504>Started</SLBL0504>");
    ExpectLabels();
}

TEST_F(Texts, AreLabelsOneByOneWhenTheFileLacksThem) {
    GivenFile(place / "I18nText.xml", "<I18NTEXT><SLBL0504>Gestartet</SLBL0504></I18NTEXT>");
    EXPECT_EQ(CopiedService(FullCopy()).exitCode, 0);
    EXPECT_THAT(ReadText(logs / "QRXevtLG.txt"), HasSubstr("Gestartet"));
    EXPECT_THAT(Lines(RunLog("tsmdm030")), ElementsAre("SLBL0143", "\"SLBL0375\""));
}

// A log that cannot be written stops nobody.
class BadLogDirectory : public BadInput {
protected:
    static void ExpectCopied(const Finished& run, const std::string& toldOnce) {
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_THAT(run.err, IsOneLineWith(toldOnce));
    }
};

TEST_F(BadLogDirectory, ThatIsNotThere) {
    Request request = FullCopy();
    request.logDirectory = (directory / "nowhere").string();
    ExpectCopied(Service(request), (directory / "nowhere" / "tsmdm030_").string());
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_FALSE(fs::exists(directory / "nowhere"));
}

TEST_F(BadLogDirectory, ThatIsAFile) {
    Request request = FullCopy();
    request.logDirectory = database.string();
    ExpectCopied(Service(request), "Not a directory");
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
}

TEST_F(BadLogDirectory, StillLeavesAFailureOnStandardError) {
    Request request = FullCopy();
    request.logDirectory = (directory / "nowhere").string();
    request.statusKey = "key";
    ExpectFailure(Service(request), "The status key (key) must be a number");
    request.statusKey = "0";
    GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe\nADV,Advice,,,often");
    const Finished failed = Service(request);
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(Lines(failed.err),
                ElementsAre(HasSubstr("the run log cannot be written"), HasSubstr("line 2, column 'dahe'")));
    ExpectFree();
}

TEST_F(BadExtract, WithKeysOutsideTheRangeIsCopiedAndTold) {
    GivenExtract("tsmdm030.csv", std::string(kServiceTypes) +
                                     "\n\xC3\x84"
                                     "1,Outside,,,1");
    EXPECT_EQ(Service(FullCopy()).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("tsmdm030.csv: 1 record lies outside the key range"));
}

// What somebody else can put in the place of a log must neither be written through nor waited for.
TEST_F(BadLogDirectory, WithALinkInTheLogsPlaceLeavesTheLinksTargetAlone) {
    GivenFile(directory / "precious", "precious");
    const fs::path log = logs / ("tsmdm030_" + Today() + ".log");
    fs::create_symlink(directory / "precious", log);
    ExpectCopied(Service(FullCopy()), log.string() + ": it is a link");
    EXPECT_EQ(ReadText(directory / "precious"), "precious\n");
}

TEST_F(BadLogDirectory, WithAPipeInTheLogsPlaceWaitsForNobody) {
    const fs::path log = logs / ("tsmdm030_" + Today() + ".log");
    ASSERT_EQ(mkfifo(log.c_str(), 0600), 0);
    ExpectCopied(Service(FullCopy()), log.string() + ": it is not a regular file");
}

TEST_F(BadLogDirectory, WithALinkInTheCodesFilesPlaceLeavesTheLinksTargetAlone) {
    GivenFile(directory / "precious", "precious");
    GivenExtract("calendars.csv", kOneCalendar);
    Execute("INSERT INTO tsmdm140 (emno, ccal) VALUES ('E1', 'C01')");
    const fs::path codes = logs / "tcccp0300_calcodes.txt";
    fs::create_symlink(directory / "precious", codes);
    Request calendars = IncrementalCopy();
    calendars.table = "18";
    const Finished run = Service(calendars);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith(codes.string() + ": it is a link"));
    EXPECT_EQ(ReadText(directory / "precious"), "precious\n");
}

class BadTraceFile : public BadInput {};

TEST_F(BadTraceFile, ThatCannotBeOpenedStopsTheProgramBeforeItTouchesAnything) {
    const std::string trace = (directory / "nowhere" / "trace").string();
    ExpectFailure(Service(FullCopy(), {{"QRX_SQL_TRACE", trace}}), trace);
    ExpectUntouched();
    const Finished tool = Qrxctl({"status"}, {{"QRX_SQL_TRACE", trace}});
    EXPECT_EQ(tool.exitCode, 1);
    EXPECT_THAT(tool.err, HasSubstr(trace));
}

TEST_F(BadTraceFile, ThatIsALinkOrADeviceStopsTheProgramBeforeItTouchesAnything) {
    GivenFile(directory / "precious", "precious");
    const fs::path link = directory / "link";
    fs::create_symlink(directory / "precious", link);
    ExpectFailure(Service(FullCopy(), {{"QRX_SQL_TRACE", link.string()}}), "it is a link");
    EXPECT_EQ(ReadText(directory / "precious"), "precious\n");
    ExpectFailure(Service(FullCopy(), {{"QRX_SQL_TRACE", "/dev/full"}}), "/dev/full: it is not a regular file");
    ExpectUntouched();
}

class BadInstanceFile : public BadInput {};

TEST_F(BadInstanceFile, FailsTheRequestOfASchedulerInOneLine) {
    const std::string file = (directory / "nowhere" / "instance").string();
    ExpectFailure(Service(FullCopy(), {{"QRX_INSTANCE", file}}, 11), file);
    ExpectUntouched();
}

}  // namespace
}  // namespace iqrx::testing
