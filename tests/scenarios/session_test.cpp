// A copy as somebody before a terminal sees it, and as a log file does.
#include <sqlite3.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "scenarios/books.h"
#include "scenarios/terminal.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* kEscape = "\x1b";
constexpr const char* kCtrlC = "\x03";
constexpr int kTypes = 2500;

std::string TypeRecords(int count) {
    std::string records;
    for (int i = 0; i < count; ++i) records += "\nT" + std::to_string(1000 + i) + ",Type,REMOTE,ONC,1";
    return records;
}

class ASession : public SiteWithBooks {
protected:
    ASession() {
        fs::remove(extract);
        fs::copy(Sample(), extract);
    }
    void GivenManyTypes() const {
        GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe" + TypeRecords(kTypes));
        Execute("WITH RECURSIVE n(i) AS (SELECT 1000 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                std::to_string(1000 + kTypes - 1) +
                ") INSERT INTO tsmdm030 (cstp, upd_flag) SELECT 'T' || i, 0 FROM n");
    }
    std::vector<std::string> Command(std::vector<std::string> arguments, const std::string& terminal) const {
        arguments.insert(arguments.begin(),
                         {"/usr/bin/env", "TERM=" + terminal, IQRX_QRXCTL, "--connection", Connection(),
                          "--erp", "extract=" + extract.string(), "--log-dir", logs.string()});
        return arguments;
    }
    // The rows of a copy under way, as another process is told of them.
    std::string CopiedSoFar(const std::string& table) const {
        const Finished status = Qrxctl({"status", table, "--json"});
        return Cell("SELECT json_extract('" + status.out + "', '$.tables[0].lock.rows')");
    }
    // What stays on the screen of a run that has ended: the lines that were rewritten are gone.
    static std::vector<std::string> LeftOf(const std::string& screen) {
        const std::string takenBack = "\x1b[A\x1b[2K";
        std::vector<std::string> left;
        for (std::string line : Lines(screen)) {
            for (; line.starts_with(takenBack); line.erase(0, takenBack.size())) left.pop_back();
            left.push_back(line);
        }
        return left;
    }
};

TEST_F(ASession, ShowsALineForEachTableThatIsDoneAndThenTheClosingTable) {
    Terminal terminal(Command({"copy", "--all", "--full"}, "xterm"), directory);

    EXPECT_EQ(terminal.Wait(), 0);

    const std::vector<std::string> left = LeftOf(terminal.Screen());
    EXPECT_THAT(left.at(0), MatchesRegex(" 1/19 tsmdm000  copied 4 +[0-9.]+ s"));
    EXPECT_THAT(left.at(18), MatchesRegex("19/19 tccom130  copied 15 +[0-9.]+ s"));
    EXPECT_EQ(left.at(19), "table      copied  removed  failed  rows now   seconds");
    EXPECT_THAT(left.back(),
                MatchesRegex("19 of 19 tables copied, [0-9,]+ rows, 0 removed, [0-9.]+ s   run [0-9-]+"));
    EXPECT_THAT(left, SizeIs(19 + 1 + 19 + 1));
    for (const std::string& line : left) EXPECT_LE(line.size(), 80U) << line;
}

// An ERP that hands out some records and then waits: the copy is in its midst for as long as this lives.
class AnExportUnderWay {
public:
    explicit AnExportUnderWay(const fs::path& file) : file_(file) {
        fs::rename(file, Whole());
        if (mkfifo(file.c_str(), 0600) != 0) throw std::runtime_error("no FIFO");
    }
    ~AnExportUnderWay() {
        stream_.close();
        fs::remove(file_);
        fs::rename(Whole(), file_);
    }
    // Returns when the copy reads; it copies as many records.
    void HandOut(int records) {
        stream_.open(file_, std::ios::binary);
        stream_ << "cstp,desc,proc,ract,dahe" << TypeRecords(records) << '\n' << std::flush;
    }
    void GoOn() { stream_.close(); }

private:
    fs::path Whole() const { return file_.string() + ".whole"; }

    const fs::path file_;
    std::ofstream stream_;
};

TEST_F(ASession, ThatIsInterruptedTellsWhatIsDoneAndGoesOnWhereItStopped) {
    GivenManyTypes();
    std::vector<std::string> left;
    {
        AnExportUnderWay records(extract / "tsmdm030.csv");
        Terminal terminal(Command({"copy", "--all", "--full"}, "xterm"), directory);
        records.HandOut(2000);
        ASSERT_TRUE(terminal.Shows(" 2/19 tsmdm030  2,000 rows  ")) << terminal.Screen();
        terminal.Type(kCtrlC);
        ASSERT_TRUE(terminal.Shows("stopping after this statement; once more stops hard\n"));
        records.GoOn();
        EXPECT_EQ(terminal.Wait(), 130);
        left = LeftOf(terminal.Screen());
    }
    std::string text;
    for (const std::string& line : left) text += line + '\n';
    EXPECT_THAT(left, Contains(MatchesRegex(" 2/19 tsmdm030  stopped +[0-9.]+ s")));
    EXPECT_THAT(text, HasSubstr("stopped  tsmdm030  by SIGINT after 2,000 rows; released; 500 rows wait for the\n"
                                "                   next full copy, nothing was removed\n"));
    EXPECT_THAT(text, HasSubstr("done     1 of 19 tables; not begun: tsmdm100 and 16 more\n"
                                "         -> qrxctl copy --all --full --resume\n"));
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), std::to_string(kTypes));

    const Finished status = Qrxctl({"status"});
    EXPECT_EQ(status.exitCode, 0) << status.out;
    EXPECT_THAT(status.out, Not(HasSubstr("LOCKED")));
    const Finished unlock = Qrxctl({"unlock", "--all"});
    EXPECT_EQ(unlock.exitCode, 0);
    EXPECT_THAT(unlock.out, HasSubstr("no table is locked"));

    const Finished resumed = Qrxctl({"copy", "--all", "--full", "--resume"});
    EXPECT_EQ(resumed.exitCode, 0) << resumed.out;
    EXPECT_THAT(resumed.out, HasSubstr("note     resumed   1 table of run "));
    EXPECT_THAT(resumed.out, ContainsRegex("\ntsmdm030 +2,500 +0 +0 +2,500 "));
    EXPECT_THAT(resumed.out, HasSubstr("18 of 18 tables copied"));
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030 WHERE upd_flag = 1"), "0");
}

// Another program that writes to the database of a site.
class AWriter {
public:
    explicit AWriter(const fs::path& database) {
        if (sqlite3_open(database.c_str(), &handle_) != SQLITE_OK ||
            sqlite3_exec(handle_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error("the database is held already");
    }
    ~AWriter() { sqlite3_close(handle_); }
    AWriter(const AWriter&) = delete;
    AWriter& operator=(const AWriter&) = delete;

private:
    sqlite3* handle_ = nullptr;
};

TEST_F(ASession, SaysThatItWaitsForTheDatabaseAndGoesOnAfterwards) {  // B2
    GivenManyTypes();
    auto writer = std::make_unique<AWriter>(database);
    Terminal terminal(Command({"copy", "tsmdm030", "--full"}, "xterm"), directory);
    ASSERT_TRUE(terminal.Shows("\n      waiting 3 s for the database: another program writes\n"))
        << terminal.Screen();
    EXPECT_THAT(terminal.Screen(), ContainsRegex(" 1/1 tsmdm030  0 of about 2,5[0-9]+ rows  0 %  0/s\n"));
    EXPECT_THAT(terminal.Screen(), Not(ContainsRegex("waiting [012] s")));
    writer.reset();
    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_THAT(LeftOf(terminal.Screen()), Each(Not(HasSubstr("waiting"))));
    EXPECT_FALSE(InUse("tsmdm030"));
}

TEST_F(ASession, EndsItsWaitForTheDatabaseWhenItIsInterrupted) {  // B2
    GivenManyTypes();
    const AWriter writer(database);
    Terminal terminal(Command({"copy", "tsmdm030", "tsmdm100", "--full"}, "xterm"), directory);
    ASSERT_TRUE(terminal.Shows("waiting 3 s for the database")) << terminal.Screen();
    terminal.Type(kCtrlC);
    EXPECT_EQ(terminal.Wait(), 130);
    EXPECT_THAT(terminal.Screen(), AllOf(HasSubstr("stopping after this statement; once more stops hard\n"),
                                         HasSubstr("stopped  tsmdm030  by SIGINT after 0 rows"),
                                         HasSubstr("not begun: tsmdm100\n")));
    EXPECT_FALSE(InUse("tsmdm030"));
}

// False when it does not come true within some seconds: long before the line that comes every half minute.
bool Soon(const std::function<bool()>& isTrue) {
    constexpr std::chrono::seconds kSoon{15};
    const auto end = std::chrono::steady_clock::now() + kSoon;
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

bool SaysSoon(const Child& process, const std::string& pattern) {
    return Soon([&] { return ::testing::Matches(ContainsRegex(pattern))(process.ErrSoFar()); });
}

TEST_F(ASession, ThroughAPipeTellsAtOnceHowFarItIsWhenItIsAskedBySigusr1) {  // B3
    std::optional<Child> copy;
    {
        AnExportUnderWay records(extract / "tsmdm030.csv");
        copy.emplace(Command({"copy", "tsmdm030", "--full"}, "xterm"), directory);
        records.HandOut(2000);
        ASSERT_TRUE(Soon([&] { return CopiedSoFar("tsmdm030") == "2000"; })) << CopiedSoFar("tsmdm030");
        EXPECT_EQ(copy->ErrSoFar(), "");
        copy->Signal(SIGUSR1);
        EXPECT_TRUE(SaysSoon(*copy, "^tsmdm030 2000 rows, [0-9]+/s\n$")) << copy->ErrSoFar();
    }
    const Finished run = copy->Wait();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.err), SizeIs(2)) << run.err;
}

TEST_F(ASession, OfTheServiceTellsOthersHowFarItIs) {  // B3
    std::optional<Child> copy;
    {
        AnExportUnderWay records(extract / "tsmdm030.csv");
        copy.emplace(ServiceCommand(FullCopy()), directory);
        records.HandOut(2000);
        EXPECT_TRUE(Soon([&] { return CopiedSoFar("tsmdm030") == "2000"; })) << CopiedSoFar("tsmdm030");
        EXPECT_THAT(Qrxctl({"unlock", "tsmdm030"}).out,
                    ContainsRegex("is being copied now by pid [0-9]+ [(]2,000 rows, [0-9]+ s[)]\n"));
    }
    EXPECT_EQ(copy->Wait().exitCode, 0);
    EXPECT_FALSE(fs::exists(State() / "running" / "tsmdm030"));
}

TEST_F(ASession, ThatIsAskedHowFarItIsTellsThePartThatIsDone) {  // B3
    GivenManyTypes();
    auto writer = std::make_unique<AWriter>(database);
    Child copy(Command({"copy", "tsmdm030", "--full", "-q"}, "xterm"), directory);
    ASSERT_TRUE(Soon([&] { return fs::exists(State() / "running" / "tsmdm030"); }));
    copy.Signal(SIGUSR1);
    EXPECT_TRUE(SaysSoon(copy, "^tsmdm030 0 rows, 0 %, 0/s(, waiting [0-9]+ s for the database: [a-z ]+)?\n$"))
        << copy.ErrSoFar();
    writer.reset();
    EXPECT_EQ(copy.Wait().exitCode, 0);
}

TEST_F(ASession, TellsAboveItsLiveLinesHowFarItIsWhenItIsAsked) {  // B3
    std::optional<Terminal> terminal;
    {
        AnExportUnderWay records(extract / "tsmdm030.csv");
        terminal.emplace(Command({"copy", "tsmdm030", "--full"}, "xterm"), directory);
        records.HandOut(2000);
        ASSERT_TRUE(terminal->Shows(" 1/1 tsmdm030  2,000 rows  ")) << terminal->Screen();
        terminal->Signal(SIGUSR1);
        EXPECT_TRUE(terminal->Shows("tsmdm030 2000 rows, ")) << terminal->Screen();
    }
    EXPECT_EQ(terminal->Wait(), 0);
    const std::vector<std::string> left = LeftOf(terminal->Screen());
    EXPECT_THAT(left.at(0), MatchesRegex("tsmdm030 2000 rows, [0-9]+/s"));
    EXPECT_THAT(left.at(1), MatchesRegex(" 1/1 tsmdm030  copied 2,000 +[0-9.]+ s"));
}

TEST_F(ASession, ThroughAPipeIsALineATableWithoutEscapeSequences) {  // B3
    const Finished run = Qrxctl({"copy", "--all", "--full"}, {{"TERM", "xterm"}});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.err),
                AllOf(SizeIs(19), Each(MatchesRegex("[ 1][0-9]/19 t[a-z]+[0-9]+  copied [0-9,]+ +[0-9.]+ s"))));
    EXPECT_THAT(Lines(run.out), SizeIs(1 + 19 + 1));
    EXPECT_THAT(run.out + run.err, Not(HasSubstr(kEscape)));
}

TEST_F(ASession, ThatIsQuietSaysNothingUnlessSomethingIsWrong) {  // B4
    const Finished well = Qrxctl({"copy", "--all", "--full", "-q"});
    EXPECT_EQ(well.exitCode, 0);
    EXPECT_THAT(well.out + well.err, IsEmpty());

    fs::remove(extract / "tsmdm030.csv");
    const Finished wrong = Qrxctl({"copy", "--all", "--full", "-q"});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_THAT(wrong.out, MatchesRegex("failed   tsmdm030  [^\n]+\n(  +[^\n]+\n)*"));
    EXPECT_THAT(wrong.err, IsEmpty());

    Terminal terminal(Command({"copy", "tsmdm100", "--full", "-q"}, "xterm"), directory);
    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_EQ(terminal.Screen(), "");
}

TEST_F(ASession, OnADumbTerminalRewritesNothing) {  // B4
    Terminal terminal(Command({"copy", "--all", "--full"}, "dumb"), directory);
    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_THAT(terminal.Screen(), HasSubstr("\n 2/19 tsmdm030  copied 5 "));
    EXPECT_THAT(terminal.Screen(), Not(HasSubstr(kEscape)));
}

}  // namespace
}  // namespace iqrx::testing
