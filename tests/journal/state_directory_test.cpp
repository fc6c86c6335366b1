#include "journal/history.h"
#include "journal/journal_fixture.h"
#include "journal/ledger.h"
#include "journal/run_sheet.h"

namespace iqrx::journal {
namespace {

using StateDirectoryTest = JournalTest;
using ::testing::IsEmpty;

// Everything that a copy does with the journal; it must not raise.
void KeepARun(StateDirectory& state) {
    History history(state);
    EXPECT_EQ(history.NewRunId(platform::ParseIsoDate("2026-11-21 10:40:32").value()), "20261121-104032");
    EXPECT_FALSE(RunSheets(state).Take({.table = "tsmdm030"}).InUse());
    Ledger ledger(state);
    const Begin begin = ledger.BeginAt(platform::ParseIsoDate("2026-11-21 10:40:32").value());
    EXPECT_EQ(ledger.NextFrom("tsmdm030", begin), std::nullopt);
    ledger.ReadInFull("tsmdm030", begin.local, begin);
    ledger.ReadTrail("tsmdm030", {begin.local, begin.local}, begin);
    history.Append({.run = "20261121-104032", .table = "tsmdm030"});
}

TEST(TheStateDirectory, LiesBesideAnEmbeddedDatabasesFile) {
    EXPECT_EQ(StateDirectoryOf("Provider=SQLite;Data Source=/var/lib/data.db", "/var/log"),
              "/var/lib/data.db.state");
    EXPECT_EQ(StateDirectoryOf("provider=sqlite;data source=\"a b.db\"", ""), "a b.db.state");
}

TEST(TheStateDirectory, LiesInTheLogDirectoryOtherwise) {
    using std::filesystem::path;
    EXPECT_EQ(StateDirectoryOf("DSN=erp", "/var/log"), path("/var/log") / ".qrx");
    EXPECT_EQ(StateDirectoryOf("Driver=x;Data Source=server", " "), path(".") / ".qrx");
    EXPECT_EQ(StateDirectoryOf("no connection string", "logs"), path("logs") / ".qrx");
}

TEST_F(StateDirectoryTest, IsMadeByWhoeverWritesFirst) {
    const StateDirectory state = Open();
    EXPECT_EQ(state.Problem(), "");
    EXPECT_TRUE(state.IsWritable());
    EXPECT_EQ(Contents("VERSION"), "1\n");
    EXPECT_TRUE(is_directory(place / "running"));
    EXPECT_TRUE(is_directory(place / "undo"));
}

TEST_F(StateDirectoryTest, IsNotMadeForAReader) {
    StateDirectory state = Open(Use::Reading);
    KeepARun(state);
    EXPECT_FALSE(exists(place));
    EXPECT_TRUE(state.IsUsable());
}

TEST_F(StateDirectoryTest, OfAReaderStaysAsItIs) {
    { const StateDirectory made = Open(); }
    Fill("ledger.json", "damaged");
    StateDirectory state = Open(Use::Reading);
    KeepARun(state);
    EXPECT_FALSE(exists(place / "history.jsonl"));
    EXPECT_EQ(Contents("ledger.json"), "damaged");
}

TEST_F(StateDirectoryTest, ThatIsAFileIsOneLineAndTheCopyGoesOn) {
    std::ofstream(place) << "mine";
    StateDirectory state = Open();
    EXPECT_EQ(state.Problem(), "the state directory cannot be used: " +
                                   PathOf("").substr(0, PathOf("").size() - 1) + ": it is not a directory");
    KeepARun(state);
    std::ifstream stream(place);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "mine");
}

TEST_F(StateDirectoryTest, OfANewerVersionIsRefusedAndNeverWritten) {
    Fill("VERSION", "2\n");
    StateDirectory state = Open();
    EXPECT_EQ(state.Problem(), "the state directory cannot be used: " + PathOf("VERSION") +
                                   ": made by a newer version (2; this program knows 1)");
    EXPECT_FALSE(state.IsUsable());
    KeepARun(state);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place), {}), 1);
    EXPECT_THROW(History(state).ForEach([](const RunEntry&) { return true; }), platform::RuntimeError);
}

TEST_F(StateDirectoryTest, WhoseVersionCannotBeReadIsRefused) {
    Fill("VERSION", "one");
    EXPECT_EQ(Open().Problem(),
              "the state directory cannot be used: " + PathOf("VERSION") + ": it does not hold a number");
}

TEST_F(StateDirectoryTest, WhereADirectoryIsMissingNothingIsMade) {
    StateDirectory state(host, machine->Files(), owned.path / "missing" / ".qrx", Use::Writing);
    EXPECT_NE(state.Problem().find("the state directory cannot be written: " +
                                   platform::Utf8(owned.path / "missing" / ".qrx") + ": "),
              std::string::npos)
        << state.Problem();
    KeepARun(state);
    EXPECT_FALSE(exists(owned.path / "missing"));
}

TEST_F(StateDirectoryTest, OnAFullDiskIsOneLineThatNamesPlaceAndCause) {
    host.diskIsFull = true;
    StateDirectory state = Open();
    EXPECT_EQ(state.Problem(),
              "the state directory cannot be written: " + PathOf("VERSION") + ": No space left on device");
    KeepARun(state);
}

TEST_F(StateDirectoryTest, ThatFillsUpLaterKeepsOthersFromTheTableAllTheSame) {
    StateDirectory state = Open();
    host.diskIsFull = true;
    RunSheets sheets(state);
    const TakenSheet taken = sheets.Take({.table = "tsmdm030"});
    EXPECT_NE(taken.sheet, nullptr);
    EXPECT_EQ(state.Problem(), "the run sheet cannot be written: " + PathOf("running") +
                                   static_cast<char>(std::filesystem::path::preferred_separator) +
                                   "tsmdm030: No space left on device");
    EXPECT_TRUE(sheets.Take({.table = "tsmdm030"}).InUse());
}

TEST_F(StateDirectoryTest, TellsTheFirstProblemOnly) {
    StateDirectory state = Open();
    state.Note("first");
    state.Note("second");
    EXPECT_EQ(state.Problem(), "first");
}

}  // namespace
}  // namespace iqrx::journal
