// The operator's tool: its help, its refusals, where its options come from, and what its commands leave.
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TheTool : public Site {
protected:
    TheTool() { GivenExtract("tsmdm030.csv", kServiceTypes); }

    void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& text) const {
        const Finished run = Qrxctl(arguments);
        EXPECT_EQ(run.exitCode, 64) << text;
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, IsOneLineWith(text));
    }
    static void ExpectHelp(const Finished& run, const std::vector<std::string>& words) {
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        for (const std::string& word : words) EXPECT_THAT(run.out, HasSubstr(word));
    }
};

TEST_F(TheTool, HelpsOnEveryLevel) {
    ExpectHelp(BareQrxctl({"--help"}),
               {"init", "copy", "status", "sample", "--connection", "--database", "--platform", "--erp",
                "--group", "--log-dir", "--state-dir", "--json", "--quiet", "--config", "QRXCTL_CONNECTION"});
    ExpectHelp(BareQrxctl({"init", "--help"}), {"init"});
    ExpectHelp(BareQrxctl({"copy", "--help"}), {"--all", "--full", "--incremental", "--since"});
    ExpectHelp(BareQrxctl({"status", "--help"}), {"status"});
    ExpectHelp(BareQrxctl({"help", "copy"}), {"--incremental"});
    ExpectHelp(BareQrxctl({"sample", "--help"}), {"--orders", "--changes", "--seed"});
    EXPECT_THAT(BareQrxctl({"help", "remove"}).err, IsOneLineWith("remove"));
}

TEST_F(TheTool, ShowsInItsUsageWhatACommandIsGiven) {
    const auto usage = [&](const std::string& command) {
        const std::string page = BareQrxctl({command, "--help"}).out;
        return page.substr(page.find("Usage:"), page.find('\n', page.find("Usage:")) - page.find("Usage:"));
    };
    EXPECT_EQ(usage("copy"), "Usage: qrxctl copy [OPTIONS] [TABLE...]");
    EXPECT_EQ(usage("status"), "Usage: qrxctl status [OPTIONS] [TABLE...]");
    EXPECT_EQ(usage("undo"), "Usage: qrxctl undo [OPTIONS] RUN [TABLE...]");
    EXPECT_EQ(usage("sample"), "Usage: qrxctl sample [OPTIONS] DIRECTORY");
    EXPECT_EQ(usage("check"), "Usage: qrxctl check [OPTIONS]");
    EXPECT_THAT(BareQrxctl({"--help"}).out, HasSubstr("Usage: qrxctl COMMAND [OPTIONS]\n"));
}

TEST_F(TheTool, ShowsTheDefinitionOfATableThatLacksAColumn) {
    Execute("ALTER TABLE tsmdm030 DROP COLUMN prod");
    const Finished run = Qrxctl({"copy", "tsmdm030", "--full", "-q"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "failed   tsmdm030  no such column: prod\n         -> qrxctl init --show tsmdm030\n");
    EXPECT_THAT(Qrxctl({"init", "--show", "tsmdm030"}).out, HasSubstr("prod NVARCHAR(16)"));
}

TEST_F(TheTool, SpeaksInItsOwnNameOfALogThatCannotBeWritten) {
    const Finished run =
        BareQrxctl({"--connection", Connection(), "--erp", "extract=" + extract.string(), "--log-dir",
                    (directory / "nowhere").string(), "copy", "tsmdm030", "--full", "-q"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Unwrapped(run.err), HasSubstr("qrxctl: the run log cannot be written: "));
    EXPECT_THAT(run.err, ::testing::Not(HasSubstr("iQRXyQRXSync")));
}

TEST_F(TheTool, SaysItsVersionAsTheServiceDoes) {
    EXPECT_EQ(BareQrxctl({"--version"}).out, "qrxctl " IQRX_VERSION "\n");
    const Finished service = RunToEnd({IQRX_SERVICE, "--version"}, directory);
    EXPECT_EQ(service.out, "iQRXyQRXSync " IQRX_VERSION "\n");
    EXPECT_EQ(service.exitCode, 0);
    const Finished help = RunToEnd({IQRX_SERVICE, "--help"}, directory);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(Lines(help.out),
                ElementsAre("iQRXyQRXSync " IQRX_VERSION, HasSubstr("CONNECTION{}DATABASE{}TABLEID")));
}

TEST_F(TheTool, ShowsItsCommandsToWhoeverTypesItsNameAlone) {
    const Finished run = BareQrxctl({});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_EQ(run.err, "");
    for (const char* command : {"init", "copy", "status", "sample"})
        EXPECT_THAT(run.out, ::testing::ContainsRegex(std::string("\n[A-Z ][a-z ]+") + command + " "));
}

TEST_F(TheTool, GuessesWhatAMistypedWordMeant) {
    ExpectUsageError({"stats"}, "did you mean status?");
    ExpectUsageError({"copy", "--all", "--ful"}, "did you mean --full?");
}

TEST_F(TheTool, PrefersTheMethodOfTheCommandLineToAnotherOfTheIniFile) {
    GivenFile(directory / "site.ini", "[copy]\nfull=true");
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tsmdm030", "-i"}).exitCode, 1);  // there is no trail
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tsmdm030"}).exitCode, 0);
}

TEST_F(TheTool, NamesTheLineOfAnIniFileThatIsWrong) {
    GivenFile(directory / "site.ini", "connection=Provider=SQLite;Data Source=x");
    ExpectUsageError({"--config", "site.ini", "status"},
                     "site.ini line 1: put the value of connection in double quotes");
    GivenFile(directory / "site.ini", "[copy]\nfull=true\ncolour=blue");
    ExpectUsageError({"--config", "site.ini", "status"}, "site.ini line 3: there is no option copy.colour");
    GivenFile(directory / "site.ini", "[copy]\nfull=maybe");
    ExpectUsageError({"--config", "site.ini", "status"}, "site.ini line 2: ");
    GivenFile(directory / "site.ini", "[copy]\njobs=2\njobs=3");
    ExpectUsageError({"--config", "site.ini", "status"}, "site.ini line 3: jobs stands in line 2 already");
    GivenFile(directory / "site.ini", "[copy\nfull=true");
    ExpectUsageError({"--config", "site.ini", "status"}, "site.ini: there is no option [copy");
}

TEST_F(TheTool, NamesTheVariableThatIsWrong) {
    const Finished run = Qrxctl({"copy", "tsmdm030"}, {{"QRXCTL_FULL", "maybe"}});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("QRXCTL_FULL: "));
}

TEST_F(TheTool, SaysWhyAnIniFileCannotBeRead) {
    ExpectUsageError({"--config", "nowhere.ini", "status"},
                     "nowhere.ini cannot be read: No such file or directory");
    ExpectUsageError({"--config", directory.string(), "status"}, "cannot be read: Is a directory");
}

TEST_F(TheTool, ReadsAnIniFileWithAByteOrderMark) {
    GivenFile(directory / "site.ini", "\xEF\xBB\xBFplatform=oracle\n[copy]\nfull=true");
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tsmdm030"}).exitCode, 0);
}

TEST_F(TheTool, RefusesALimitForATableThatDoesNotExist) {
    GivenFile(directory / "site.ini", "[guard]\ntsmdm03=0");
    ExpectUsageError({"--config", "site.ini", "copy", "tsmdm030", "--full"},
                     "[guard] tsmdm03: no table has this name; did you mean tsmdm030?");
    GivenFile(directory / "site.ini", "[guard]\nTSMDM030=0");
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tsmdm030", "--full"}).exitCode, 0);
}

TEST_F(TheTool, FailsWhenItsResultsCannotBeWritten) {
    for (const char* nowhere : {">/dev/full", ">&-"}) {
        SCOPED_TRACE(nowhere);
        const std::string command = std::string("exec \"$0\" --connection \"$1\" status --json ") + nowhere;
        const Finished run = RunToEnd({"/bin/sh", "-c", command, IQRX_QRXCTL, Connection()}, directory);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, IsOneLineWith("the results could not be written to standard output"));
    }
}

TEST_F(TheTool, RefusesAnEmptyValueWhereANameIsNeeded) {
    ExpectUsageError({"init", "--show", ""}, "no table \"\" in the schema");
    ExpectUsageError({"status", "--prometheus", ""}, "--prometheus");
    ExpectUsageError({"sample", "", "--orders", "1"}, "directory");
    for (const char* command : {"copy", "status", "unlock", "history"}) {
        std::vector<std::string> words{command, ","};
        if (words.front() == "copy") words.emplace_back("--full");
        ExpectUsageError(words, "no table is named");
    }
}

TEST_F(TheTool, RefusesWhatItDoesNotKnowInOneLine) {
    ExpectUsageError({"remove"}, "remove");
    ExpectUsageError({"status", "--colour"}, "--colour");
    ExpectUsageError({"copy", "tsmdm031", "--full"}, "tsmdm031");
    ExpectUsageError({"copy", "tsmdm030", "tsmdm031", "--full"}, "tsmdm031");
    ExpectUsageError({"--platform", "db", "status"}, "platform");
    EXPECT_THAT(Rows(kSelectServiceTypes), IsEmpty());  // nothing is copied when one of the names is unknown
}

TEST_F(TheTool, RefusesAnIncompleteOrContradictoryCommandInOneLine) {
    ExpectUsageError({"--platform", "oracle"}, "subcommand");
    ExpectUsageError({"copy", "tsmdm030"}, "--full or --incremental");
    ExpectUsageError({"copy", "--full"}, "--all");
    ExpectUsageError({"copy", "tsmdm030", "--all", "--full"}, "--all");
    ExpectUsageError({"copy", "tsmdm030", "--full", "--incremental"}, "--full");
    ExpectUsageError({"copy", "tsmdm030", "--full", "--since", "2025-06-20"}, "--since");
    ExpectUsageError({"sample", "somewhere", "--orders", "many"}, "--orders");
    ExpectUsageError({"sample", "somewhere", "--orders", "-1"}, "--orders");
    ExpectUsageError({"sample", "somewhere"}, "--orders");
    EXPECT_FALSE(fs::exists(directory / "somewhere"));
    const Finished noConnection = BareQrxctl({"status"});
    EXPECT_EQ(noConnection.exitCode, 64);
    EXPECT_THAT(noConnection.err, IsOneLineWith("--connection"));
}

TEST_F(TheTool, RefusesAMomentThatIsNoneBeforeItCopiesAnything) {
    const Finished run = Qrxctl({"copy", "tsmdm030", "--incremental", "--since", "yesterday"});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("\"yesterday\" is not YYYY-MM-DD [HH:MM:SS]"));
    EXPECT_EQ(LastUpdate("tsmdm030"), "NULL");
}

TEST_F(TheTool, TakesAnyOptionFromAnIniFile) {
    GivenFile(directory / "site.ini", "connection=\"" + Connection() + "\"\nerp=\"extract=" + extract.string() +
                                          "\"\nlog-dir=\"" + logs.string() + "\"\nplatform=oracle");
    const std::string ini = (directory / "site.ini").string();

    EXPECT_EQ(BareQrxctl({"--config", ini, "copy", "tsmdm030", "--full"}).exitCode, 0);

    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("Records inserted: tsmdm030 -  3"));
    EXPECT_EQ(BareQrxctl({"status"}, {{"QRXCTL_CONFIG", ini}}).exitCode, 0);
}

TEST_F(TheTool, NamesAnIniFileThatIsMissingOrHoldsAnUnknownOption) {
    ExpectUsageError({"--config", "nowhere.ini", "status"}, "nowhere.ini");
    const Finished named = Qrxctl({"status"}, {{"QRXCTL_CONFIG", "nowhere.ini"}});
    EXPECT_EQ(named.exitCode, 64);
    EXPECT_THAT(named.err, IsOneLineWith("nowhere.ini"));
    GivenFile(directory / "site.ini", "colour=blue");
    ExpectUsageError({"--config", "site.ini", "status"}, "colour");
}

TEST_F(TheTool, TakesAnyOptionFromAVariable) {
    const Environment variables{{"QRXCTL_CONNECTION", Connection()},
                                {"QRXCTL_ERP", "extract=" + extract.string()},
                                {"QRXCTL_LOG_DIR", logs.string()},
                                {"QRXCTL_PLATFORM", "sqlserver"},
                                {"QRXCTL_GROUP", "SYNC"}};
    EXPECT_EQ(BareQrxctl({"copy", "tsmdm030", "--full"}, variables).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("Records inserted: tsmdm030 -  3"));
}

TEST_F(TheTool, TakesTheOptionsOfACommandFromVariablesAndTheIniFileToo) {
    EXPECT_THAT(Qrxctl({"status"}, {{"QRXCTL_JSON", "true"}}).out, ::testing::StartsWith("{"));
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030"}, {{"QRXCTL_FULL", "true"}}).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    GivenFile(directory / "site.ini", "[copy]\nincremental=true\nsince=\"2025-06-20 00:00:00\"");
    GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tsmdm030"}).exitCode, 0);
    EXPECT_THAT(Rows("SELECT cstp FROM tsmdm030 ORDER BY cstp"), ElementsAre("INS", "NEW", "REP"));
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "status"}).exitCode, 0);
}

TEST_F(TheTool, PrefersTheCommandLineToTheIniFileAndTheIniFileToAVariable) {
    GivenFile(directory / "site.ini", "group=FILE");
    const Environment variable{{"QRXCTL_GROUP", "VARIABLE"}};
    const auto grouped = [&](const std::string& group) {
        Execute("UPDATE tstreenodes SET groupid = '" + group + "'");
    };
    grouped("OPTION");
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "--group", "OPTION", "status"}, variable).exitCode, 0);
    grouped("FILE");
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "status"}, variable).exitCode, 0);
    grouped("VARIABLE");
    EXPECT_EQ(Qrxctl({"status"}, variable).exitCode, 0);
    EXPECT_EQ(Qrxctl({"status"}).exitCode, 64);  // there is no group SYNC any more
}

TEST_F(TheTool, LeavesWhatAnAdministratorSetWhenItInitialisesAgain) {
    const auto tables = CatalogTables();
    Qrxctl({"copy", "tsmdm030", "--full"});
    Execute(
        "UPDATE tstables SET FilterFlag = 95 WHERE tablename = 'tssoc200';"
        "UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm100';"
        "UPDATE tsi18ntext SET text = 'Servicearten' WHERE label = 'STIT0010';"
        "UPDATE tsparameters SET Qrxcal = 90, tvkparam = 0;"
        "DELETE FROM tstables WHERE tablename = 'tsmdm105'");
    const std::string lastUpdate = LastUpdate("tsmdm030");

    EXPECT_EQ(Qrxctl({"init"}).exitCode, 0);

    EXPECT_EQ(Cell("SELECT FilterFlag FROM tstables WHERE tablename = 'tssoc200'"), "95");
    EXPECT_TRUE(InUse("tsmdm100"));
    EXPECT_EQ(Cell("SELECT text FROM tsi18ntext WHERE label = 'STIT0010'"), "Servicearten");
    EXPECT_THAT(Rows("SELECT Qrxcal, tvkparam FROM tsparameters"), ElementsAre("90|0"));
    EXPECT_EQ(LastUpdate("tsmdm030"), lastUpdate);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
    EXPECT_EQ(CatalogTables(), tables);  // the row that was missing is back
}

TEST_F(TheTool, AnswersTheWorstOfItsRequests) {
    GivenExtract("tsmdm100.csv", "code\nSC01");
    const auto copy = [&](std::vector<std::string> tables) {
        tables.insert(tables.begin(), "copy");
        tables.push_back("--full");
        return Qrxctl(tables);
    };
    Execute("UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm130'");

    EXPECT_EQ(copy({"tsmdm030"}).exitCode, 0);
    EXPECT_EQ(copy({"tsmdm130", "tsmdm030"}).exitCode, 2);
    const Finished all = copy({"tsmdm100", "tsmdm130", "TSMDM030"});
    EXPECT_EQ(all.exitCode, 1);
    EXPECT_THAT(all.out, ::testing::ContainsRegex("tsmdm100 +- +- +- +0 +[0-9.]+  failed\n"));
    EXPECT_THAT(all.out, ::testing::ContainsRegex("failed   tsmdm100 [^\n]*has no columns 'cwoc',\n +'dsca'"));
    EXPECT_THAT(all.out, ::testing::ContainsRegex("tsmdm130 .*in use"));
    EXPECT_THAT(all.out,
                ::testing::ContainsRegex("tsmdm030 +3 +0 +0 +3 "));  // those after a failure are copied
}

TEST_F(TheTool, LeavesTheLastUpdateOfATableInUseToWhoeverCopiesIt) {
    Execute("UPDATE tstables SET in_use = 1, lutm = '2025-06-21 00:00:00' WHERE tablename = 'tsmdm030'");
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--incremental", "--since", "2025-06-20"}).exitCode, 2);
    EXPECT_EQ(LastUpdate("tsmdm030"), "2025-06-21 00:00:00");
}

TEST_F(TheTool, FailsAndSaysWhyWhereACopyOfCalendarsCannotReachItsErp) {
    const Finished run = BareQrxctl({"copy", "tcccp030", "--full", "--connection", Connection(), "--erp",
                                     "extract=/nosuch", "--log-dir", logs.string()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("failed   tcccp030  The extract directory /nosuch does not exist\n"));
}

TEST_F(TheTool, SaysThatADatabaseWasNeverInitialised) {
    fs::remove(database);
    const Finished missing = Qrxctl({"copy", "--all", "--full"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(Unwrapped(missing.err), AllOf(HasSubstr("does not exist"), HasSubstr("-> qrxctl init")));
    EXPECT_EQ(Qrxctl({"init"}).exitCode, 0);
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full"}).exitCode, 0);
}

TEST_F(TheTool, WritesTheSameSampleFromTheSameSeed) {
    for (const char* name : {"one", "two"})
        EXPECT_EQ(
            BareQrxctl({"sample", (directory / name).string(), "--orders", "20", "--seed", "5"}).exitCode, 0);
    for (const auto& entry : fs::directory_iterator(directory / "one"))
        EXPECT_EQ(ReadText(entry.path()), ReadText(directory / "two" / entry.path().filename()))
            << entry.path().filename();
}

TEST_F(TheTool, NamesADirectoryThatItCannotWriteASampleTo) {
    const Finished run = BareQrxctl({"sample", (database / "sample").string(), "--orders", "5"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr(database.string()));
}

}  // namespace
}  // namespace iqrx::testing
