// Rows are not lost, and nothing that failed says that all is well: what administrators met, one by one.
#include <csignal>
#include <fstream>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* kTypesHeader = "cstp,desc,proc,ract,dahe";

class ABadExtract : public Site {
protected:
    ABadExtract() {
        fs::remove(extract);
        fs::copy(Sample(), extract);
        EXPECT_EQ(Qrxctl({"copy", "--all", "--full", "-q"}).exitCode, 0);
    }
    long Count(const std::string& table) const { return std::stol(Cell("SELECT count(*) FROM " + table)); }
    // Leaves the header and as many records.
    void GivenCut(const std::string& file, std::size_t records) const {
        const auto lines = Lines(ReadText(extract / file));
        std::string text = lines.front();
        for (std::size_t i = 1; i <= records; ++i) text += "\n" + lines.at(i);
        GivenExtract(file, text);
    }
    // Rows a failed or guarded copy must leave, its exit code, its line of the closing table, and a free table.
    void ExpectKept(const std::string& table, int exitCode, const std::string& word) const {
        const long rows = Count(table);
        const Finished run = Qrxctl({"copy", table, "--full"});
        EXPECT_EQ(run.exitCode, exitCode) << run.out;
        EXPECT_THAT(run.out, ContainsRegex(table + " .*  " + word + "\n"));
        EXPECT_EQ(Count(table), rows);
        EXPECT_FALSE(InUse(table));
    }
};

// A1: the export was cut short.
TEST_F(ABadExtract, ThatIsCutShortIsStoppedBeforeItsRemovalAndSaysWhatItWouldRemove) {
    GivenCut("tssoc200.csv", 3);
    ExpectKept("tssoc200", 4, "stopped by the guard");

    const Finished run = Qrxctl({"copy", "tssoc200", "--full"});
    EXPECT_THAT(run.out, HasSubstr("stopped  tssoc200  would remove 37 of 40 rows (92 %, limit 10 %)\n"
                                   "         -> allow:   qrxctl copy tssoc200 --full --max-removed 37\n"));
    EXPECT_THAT(RunLog("tssoc200"), HasSubstr("would remove 37 of 40 rows"));

    const Finished allowed = Qrxctl({"copy", "tssoc200", "--full", "--max-removed", "37"});
    EXPECT_EQ(allowed.exitCode, 0);
    EXPECT_THAT(allowed.out, ContainsRegex("tssoc200 +3 +37 +0 +3 "));
    EXPECT_EQ(Count("tssoc200"), 3);
}

TEST_F(ABadExtract, ThatHasOnlyItsHeaderEmptiesNoTable) {
    GivenCut("tssoc200.csv", 0);
    ExpectKept("tssoc200", 4, "stopped by the guard");
    GivenCut("tsmdm030.csv", 0);
    ExpectKept("tsmdm030", 4, "stopped by the guard");
}

TEST_F(ABadExtract, ThatLacksAFileFailsAndNamesIt) {
    for (const std::string file : {"tssoc200.csv", "tssoc210.csv", "tsmdm030.csv"}) {
        fs::remove(extract / file);
        ExpectKept(file.substr(0, 8), 1, "failed");
    }
    fs::remove(extract / "calendars.csv");
    ExpectKept("tcccp030", 1, "failed");
    EXPECT_THAT(Qrxctl({"copy", "tcccp030", "-f"}).out, ContainsRegex("calendars.csv\\s+does\\s+not\\s+exist"));
}

TEST_F(ABadExtract, ThatIsAnEmptyDirectoryRemovesNothingAndTellsEqualCausesOnce) {
    fs::remove_all(extract);
    fs::create_directory(extract);
    const Finished run = Qrxctl({"copy", "--all", "--full"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("0 of 19 tables copied"));
    EXPECT_EQ(Count("tssoc200"), 40);
    fs::remove(extract);
    const Finished without = Qrxctl({"copy", "--all", "--full"});
    EXPECT_THAT(without.out, HasSubstr("failed   19 tables "));
    EXPECT_EQ(Lines(without.out.substr(without.out.find("failed   19"))).size(), 6U) << without.out;
}

TEST_F(ABadExtract, WithAMisspeltColumnFailsAndNamesFileAndColumn) {
    std::string orders = ReadText(extract / "tssoc200.csv");
    orders.replace(orders.find("osta"), 4, "ostx");
    GivenExtract("tssoc200.csv", orders);
    ExpectKept("tssoc200", 1, "failed");
    EXPECT_THAT(Qrxctl({"copy", "tssoc200", "-f"}).out, AllOf(HasSubstr("tssoc200.csv"), HasSubstr("'osta'")));
}

TEST_F(ABadExtract, WithoutSomeColumnsBlanksNothing) {
    const auto before = Rows(kSelectServiceTypes);
    GivenExtract("tsmdm030.csv", "cstp,description,proc,ract,dahe\nADV,Advice,REMOTE,ONC,1");
    ExpectKept("tsmdm030", 1, "failed");
    GivenExtract("tsmdm030.csv", "cstp\nADV\nINS");
    ExpectKept("tsmdm030", 1, "failed");
    EXPECT_EQ(Rows(kSelectServiceTypes), before);
}

TEST_F(ABadExtract, InLatin1FailsWithLineAndColumn) {
    GivenExtract("tsmdm030.csv", std::string(kTypesHeader) + "\nADV,B\xE9la,REMOTE,ONC,1");
    ExpectKept("tsmdm030", 1, "failed");
    EXPECT_THAT(Qrxctl({"copy", "tsmdm030", "-f"}).out, ContainsRegex("line\\s+2,\\s+column\\s+'desc'"));
}

TEST_F(ABadExtract, WithTheSameKeyTwiceShowsThatThereAreFewerRowsThanRecords) {
    GivenExtract("tsmdm030.csv", ReadText(extract / "tsmdm030.csv") + "ADV,Advice,REMOTE,ONC,1");
    EXPECT_THAT(Qrxctl({"copy", "tsmdm030", "-f"}).out, ContainsRegex("tsmdm030 +6 +0 +0 +5 "));
}

TEST_F(ABadExtract, OrAFilterThatLeavesOutEveryStatusEmptiesNoTable) {
    Execute("UPDATE tstables SET FilterFlag = 0 WHERE tablename = 'tssoc200'");
    ExpectKept("tssoc200", 4, "stopped by the guard");
}

TEST_F(ABadExtract, IsGuardedPerTableByTheIniFileAndOnItsDeletionsToo) {
    GivenFile(directory / "site.ini", "[guard]\ntssoc200=any");
    GivenCut("tssoc200.csv", 3);
    EXPECT_EQ(Qrxctl({"--config", "site.ini", "copy", "tssoc200", "-f", "--max-removed", "1"}).exitCode, 4);
    EXPECT_EQ(
        Qrxctl({"--config", "site.ini", "copy", "tssoc200", "-f"}, {{"QRXCTL_MAX_REMOVED", "1"}}).exitCode, 0);
    EXPECT_EQ(Count("tssoc200"), 3);

    GivenExtract("tsmdm030.audit.csv", std::string("changed_at,change,") + kTypesHeader +
                                           "\n2025-06-20 08:00:00,D,ADV,,,,\n2025-06-20 08:00:01,D,CAL,,,,");
    const Finished run = Qrxctl({"copy", "tsmdm030", "-i", "--since", "2025-06-20", "--max-removed", "1"});
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_THAT(run.out, HasSubstr("would remove 2 of 5 rows (40 %, limit 1 row"));
    EXPECT_THAT(run.out, ContainsRegex("1\\s+row\\s+removed\\s+before"));
    EXPECT_THAT(run.out, ContainsRegex("\ntsmdm030 +0 +1 "));
    EXPECT_EQ(Count("tsmdm030"), 4);
}

TEST_F(ABadExtract, IsGuardedInTheServiceOnlyWhereItWasAskedFor) {
    GivenCut("tssoc200.csv", 3);
    Request request = FullCopy();
    request.table = "10";
    const Finished guarded = Service(request, {{"QRX_MAX_REMOVED", "10%"}});
    EXPECT_EQ(guarded.exitCode, 1);
    EXPECT_THAT(guarded.err, IsOneLineWith("would remove 37 of 40 rows (92 %, limit 10 %)"));
    EXPECT_EQ(Count("tssoc200"), 40);
    EXPECT_FALSE(InUse("tssoc200"));
    EXPECT_EQ(Service(request).exitCode, 0);
    EXPECT_EQ(Count("tssoc200"), 3);
    const Finished wrong = Service(request, {{"QRX_MAX_REMOVED", "some"}});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_THAT(wrong.err, IsOneLineWith("QRX_MAX_REMOVED: \"some\" is not a share"));
}

// A5: the closing table tells what is true.
TEST_F(ABadExtract, ThatFailsHalfWayShowsWhatWasWrittenBefore) {
    GivenExtract("tsmdm030.audit.csv", std::string("changed_at,change,") + kTypesHeader +
                                           "\n2025-06-20 08:00:00,I,NEW,New,INSTALL,WRK,2"
                                           "\n2025-06-20 08:30:00,U,ADV,Advice,REMOTE,ONC,1"
                                           "\n2025-06-20 09:00:00,U,CAL,Call,REMOTE,ONC,often");
    const Finished run = Qrxctl({"copy", "tsmdm030", "-i", "--since", "2025-06-20"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, ContainsRegex("tsmdm030 +2 +0 +1 +6 +[0-9.]+  failed\n"));
}

TEST_F(ABadExtract, OfUnchangedDataCopiesRowsAndInsertsNone) {
    EXPECT_THAT(Qrxctl({"copy", "tssoc200", "-f"}).out, ContainsRegex("tssoc200 +40 +0 +0 +40 "));
}

TEST_F(ABadExtract, DirectoryThatIsMissingFailsTheCalendarsInBothPrograms) {
    const Finished tool = BareQrxctl({"copy", "tcccp030", "-f", "--connection", Connection(), "--erp",
                                      "extract=/nosuch", "--log-dir", logs.string()});
    EXPECT_EQ(tool.exitCode, 1);
    Request request = FullCopy();
    request.table = "18";
    request.runParameter = "extract=/nosuch";
    const Finished service = Service(request);
    EXPECT_EQ(service.exitCode, 1);
    EXPECT_THAT(service.err, IsOneLineWith("/nosuch"));
}

// A6: rows that the trail left blank.
TEST_F(ABadExtract, DoesNotHideWhatAnIncrementalCopyLeavesBlankAndThenFullFillsIt) {
    const auto blank = [&] { return Count("tsmdm140 WHERE dsca = ''"); };
    EXPECT_EQ(blank(), 0);
    EXPECT_EQ(Qrxctl({"copy", "tsmdm140", "-i", "--since", "2025-06-20"}).exitCode, 0);
    EXPECT_GT(blank(), 0);
    EXPECT_THAT(Qrxctl({"status"}).out, HasSubstr("rows blanked"));
    const Finished run =
        Qrxctl({"copy", "tsmdm140", "tsmdm030", "-i", "--since", "2025-06-20", "--then-full", "blanked"});
    EXPECT_EQ(run.exitCode, 0) << run.out;
    EXPECT_THAT(run.out, HasSubstr("2 of 2 tables copied"));
    EXPECT_EQ(blank(), 0);
}

// What a sweep took comes back.
TEST_F(ABadExtract, ThatWasAllowedToRemoveRowsIsUndone) {
    const auto before = Rows("SELECT * FROM tssoc200 ORDER BY orno");
    GivenCut("tssoc200.csv", 3);
    const Finished run = Qrxctl({"copy", "tssoc200", "-f", "--max-removed", "any"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(Count("tssoc200"), 3);
    std::string id = run.out.substr(run.out.find("   run ") + 7);
    id.resize(id.find('\n'));
    const Finished undo = Qrxctl({"undo", id});
    EXPECT_EQ(undo.exitCode, 0) << undo.err;
    EXPECT_THAT(undo.out, HasSubstr("37 rows brought back"));
    EXPECT_EQ(Rows("SELECT * FROM tssoc200 ORDER BY orno"), before);
}

TEST_F(ABadExtract, ThatRemovedRowsBeforeItsRunFailedAndAfterItWasResumedIsUndoneWhole) {
    const auto before = Rows("SELECT * FROM tssoc200 ORDER BY orno");
    const auto copy = [&](const std::string& more) {
        return Qrxctl({"copy", "tssoc200", "-f", "--max-removed", "any", more});
    };
    GivenCut("tssoc200.csv", 30);
    Execute("ALTER TABLE tssoc200_audit RENAME TO away");
    const Finished failed = copy("-q");
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_EQ(Count("tssoc200"), 30);
    Execute("ALTER TABLE away RENAME TO tssoc200_audit");
    GivenCut("tssoc200.csv", 3);
    const Finished resumed = copy("--resume");
    EXPECT_EQ(resumed.exitCode, 0);
    EXPECT_EQ(Count("tssoc200"), 3);
    std::string id = resumed.out.substr(resumed.out.find("   run ") + 7);
    id.resize(id.find('\n'));
    EXPECT_EQ(Qrxctl({"undo", id}).exitCode, 0);
    EXPECT_EQ(Rows("SELECT * FROM tssoc200 ORDER BY orno"), before);
}

// A3 and A4: locks.
class AStoppedCopy : public Site {
protected:
    static constexpr int kRecords = 2000;

    AStoppedCopy() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenSlow("tsmdm030.csv");
    }
    void GivenSlow(const std::string& file) const {
        const fs::path fifo = extract / (file + ".fifo");
        if (mkfifo(fifo.c_str(), 0600) != 0) throw std::runtime_error("no FIFO");
        fs::rename(fifo, extract / file);
    }
    // An ERP that hands out some records and then waits: the copy is in its midst for as long as this lives.
    struct SlowExport {
        explicit SlowExport(const fs::path& file, const std::string& header = kTypesHeader,
                            std::string before = "")
            : stream(file, std::ios::binary), change(std::move(before)) {
            stream << header << '\n';
            for (int i = 0; i < kRecords; ++i) stream << change << "T" << 1000 + i << ",Type,REMOTE,ONC,1\n";
            stream.flush();
        }
        ~SlowExport() {
            stream.close();
            std::signal(SIGPIPE, brokenPipe);
        }
        void GoOn() { stream << change << "ZZZ,Last,REMOTE,ONC,1\n" << std::flush; }
        // A copy that was asked to stop may have ended before it comes to read what is left.
        void (*const brokenPipe)(int) = std::signal(SIGPIPE, SIG_IGN);
        std::ofstream stream;
        const std::string change;
    };
    std::vector<std::string> Command(const std::string& method = "--full") const {
        return {IQRX_QRXCTL, "--connection", Connection(), "--erp",    "extract=" + extract.string(),
                "--log-dir", logs.string(),  "copy",       "tsmdm030", method};
    }
    void WaitUntilLocked() const {
        WaitUntil([&] { return InUse("tsmdm030"); });
    }
    void GivenPlainExport() const {
        fs::remove(extract / "tsmdm030.csv");
        GivenExtract("tsmdm030.csv", kServiceTypes);
    }
};

TEST_F(AStoppedCopy, BySignalFreesItsTableTellsWhatWasDoneAndEndsWith130) {
    for (const auto& [signal, name] : {std::pair{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}}) {
        SCOPED_TRACE(name);
        Child copy(Command(), directory);
        SlowExport records(extract / "tsmdm030.csv");
        WaitUntilLocked();
        copy.Signal(signal);
        records.GoOn();
        records.stream.close();
        const Finished run = copy.Wait();
        EXPECT_EQ(run.exitCode, 130) << run.out << run.err;
        EXPECT_THAT(run.out,
                    ContainsRegex(std::string("stopped  tsmdm030  by ") + name + " after [0-9,]+ rows?"));
        EXPECT_FALSE(InUse("tsmdm030"));
        EXPECT_FALSE(fs::exists(State() / "running" / "tsmdm030"));
    }
    GivenPlainExport();
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"}).exitCode, 0);
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
}

TEST_F(AStoppedCopy, OfTheTrailLeavesTheLastUpdateAsItWas) {
    GivenPlainExport();
    ASSERT_EQ(Qrxctl({"copy", "tsmdm030", "--full"}).exitCode, 0);
    const std::string before = LastUpdate("tsmdm030");
    GivenSlow("tsmdm030.audit.csv");
    std::vector<std::string> command = Command("--incremental");
    command.insert(command.end(), {"--since", "2025-06-01"});
    Child copy(command, directory);
    SlowExport records(extract / "tsmdm030.audit.csv", "changed_at,change," + std::string(kTypesHeader),
                       "2025-06-20 08:00:00,I,");
    WaitUntilLocked();
    copy.Signal(SIGTERM);
    records.GoOn();
    records.stream.close();
    const Finished run = copy.Wait();
    EXPECT_EQ(run.exitCode, 130) << run.out << run.err;
    EXPECT_THAT(run.out, HasSubstr("stopped  tsmdm030  by SIGTERM"));
    EXPECT_EQ(LastUpdate("tsmdm030"), before);
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(AStoppedCopy, InTheServiceFailsAsACopyFailsAndFreesItsTable) {
    Child service(ServiceCommand(FullCopy()), directory);
    SlowExport records(extract / "tsmdm030.csv");
    WaitUntilLocked();
    service.Signal(SIGTERM);
    records.GoOn();
    records.stream.close();
    const Finished run = service.Wait();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, IsOneLineWith("stopped by SIGTERM"));
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_THAT(RunLog("tsmdm030"), HasSubstr("stopped by SIGTERM"));
}

TEST_F(AStoppedCopy, ByASecondSignalEndsAtOnceAndIsTakenOverByTheNext) {
    {
        Child copy(Command(), directory);
        SlowExport records(extract / "tsmdm030.csv");
        WaitUntilLocked();
        copy.Signal(SIGINT);
        copy.Signal(SIGTERM);  // two of a kind could be taken for one
        EXPECT_THAT(copy.Wait().exitCode, ::testing::AnyOf(128 + SIGINT, 128 + SIGTERM));
    }
    EXPECT_TRUE(InUse("tsmdm030"));
    GivenPlainExport();
    const Finished next = Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"});
    EXPECT_EQ(next.exitCode, 0) << next.out;
    EXPECT_THAT(next.out, ContainsRegex("note     tsmdm030  took over the lock of pid [0-9]+"));
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(AStoppedCopy, ThatWasKilledIsTakenOverWithoutAHandOnTheDatabaseUnlessThatIsForbidden) {
    {
        Child copy(Command(), directory);
        SlowExport records(extract / "tsmdm030.csv");
        WaitUntilLocked();
        copy.Kill();
        copy.Wait();
    }
    EXPECT_TRUE(InUse("tsmdm030"));
    GivenPlainExport();
    const Finished careful = Qrxctl({"copy", "tsmdm030", "--full", "--no-takeover"});
    EXPECT_EQ(careful.exitCode, 2);
    EXPECT_THAT(careful.out, HasSubstr("-> qrxctl unlock tsmdm030"));
    EXPECT_TRUE(InUse("tsmdm030"));
    const Finished next = Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"});
    EXPECT_EQ(next.exitCode, 0) << next.out;
    EXPECT_THAT(Rows(kSelectServiceTypes), SizeIs(3));
}

TEST_F(AStoppedCopy, OfTheServiceThatWasKilledIsTakenOverByTheToolAndLeftByTheService) {
    {
        Child service(ServiceCommand(FullCopy()), directory);
        SlowExport records(extract / "tsmdm030.csv");
        WaitUntilLocked();
        service.Kill();
        service.Wait();
    }
    GivenPlainExport();
    EXPECT_EQ(Service(FullCopy()).exitCode, 2);
    const Finished next = Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"});
    EXPECT_EQ(next.exitCode, 0) << next.out;
    EXPECT_THAT(next.out, HasSubstr("iQRXyQRXSync"));
}

TEST_F(AStoppedCopy, IsNotMixedUpWithOneThatStillRuns) {
    Child copy(Command(), directory);
    SlowExport records(extract / "tsmdm030.csv");
    WaitUntilLocked();
    const Finished second = Qrxctl({"copy", "tsmdm030", "--full"});
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_THAT(second.out, ContainsRegex("in use   tsmdm030  is being copied now by pid [0-9]+"));
    EXPECT_TRUE(InUse("tsmdm030"));
    records.stream.close();
    EXPECT_EQ(copy.Wait().exitCode, 0);
}

TEST_F(AStoppedCopy, OfManyTablesIsResumedWhereItStopped) {
    GivenExtract("tsmdm130.csv", "skll,desc,clrt\nMECH,Mechanic,L1");
    GivenExtract("tsmdm000.csv", "seqn,skla,sklb,sklc,untd\n1,MECH,HYDR,,hour");
    std::vector<std::string> command = Command();
    command.insert(command.end() - 1, {"tsmdm000", "tsmdm130"});
    Child copy(command, directory);
    SlowExport records(extract / "tsmdm030.csv");
    WaitUntilLocked();
    copy.Signal(SIGTERM);
    records.GoOn();
    records.stream.close();
    const Finished run = copy.Wait();
    EXPECT_THAT(run.out, ContainsRegex("not begun: tsmdm130"));
    EXPECT_THAT(run.out, HasSubstr(" --resume"));
    GivenPlainExport();
    const Finished resumed =
        Qrxctl({"copy", "tsmdm030", "tsmdm000", "tsmdm130", "--full", "--resume", "--max-removed", "any"});
    EXPECT_THAT(resumed.out, Not(ContainsRegex("\ntsmdm000 ")));
    EXPECT_THAT(resumed.out, ContainsRegex("\ntsmdm030 +3 "));
}

}  // namespace
}  // namespace iqrx::testing
