// Two databases whose copies were told to keep their books in one place: neither is led astray by the other's.
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class TwoDatabases : public Site {
protected:
    TwoDatabases() {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenExtract("tsmdm030.audit.csv", kServiceTypeChanges);
        EXPECT_EQ(Of(other, {"init"}).exitCode, 0);
    }

    Finished Of(const fs::path& file, std::vector<std::string> arguments, const std::string& books = "") const {
        const std::string connection = "Provider=SQLite;Data Source=" + file.string();
        arguments.insert(arguments.begin(), {"--connection", connection, "--erp",
                                             "extract=" + extract.string(), "--log-dir", logs.string()});
        if (!books.empty()) arguments.insert(arguments.begin(), {"--state-dir", books});
        return BareQrxctl(arguments);
    }
    Finished InOneDirectory(const fs::path& file, const std::vector<std::string>& arguments) const {
        return Of(file, arguments, shared.string());
    }

    const fs::path other = directory / "other.db";
    const fs::path shared = directory / "books";
};

TEST_F(TwoDatabases, WithOneStateDirectoryDoNotBelieveEachOthersLedger) {
    EXPECT_EQ(InOneDirectory(database, {"copy", "tsmdm030", "--full"}).exitCode, 0);
    Of(other, {"copy", "tsmdm030", "--full"});
    RowsOf(other, "UPDATE tstables SET lutm = '2025-06-19 23:00:00' WHERE tablename = 'tsmdm030'");
    const std::string ledger = ReadText(shared / "ledger.json"), history = ReadText(shared / "history.jsonl");

    const Finished run = InOneDirectory(other, {"copy", "tsmdm030", "--incremental"});

    // The changes since its own last copy, not since the other's; and nothing is written among the other's.
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(RowsOf(other, "SELECT count(*) FROM tsmdm030 WHERE cstp IN ('ADV', 'NEW')").at(0), "1");
    EXPECT_THAT(Unwrapped(run.err),
                AllOf(HasSubstr("note state"), HasSubstr("belongs to another database: "),
                      HasSubstr(database.string()), HasSubstr("-> name one of its own with --state-dir")));
    EXPECT_EQ(ReadText(shared / "ledger.json"), ledger);
    EXPECT_EQ(ReadText(shared / "history.jsonl"), history);
}

TEST_F(TwoDatabases, WithOneStateDirectoryDoNotTakeEachOthersLocksOver) {
    EXPECT_EQ(InOneDirectory(database, {"copy", "tsmdm030", "--full"}).exitCode, 0);
    GivenFile(shared / "running" / "tsmdm030", "{\"schema\":1,\"table\":\"tsmdm030\",\"pid\":99999999}");
    RowsOf(other, "UPDATE tstables SET in_use = 1 WHERE tablename = 'tsmdm030'");
    const Finished run = InOneDirectory(other, {"copy", "tsmdm030", "--full"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.out, Not(HasSubstr("took over")));
    EXPECT_TRUE(fs::exists(shared / "running" / "tsmdm030"));
}

TEST_F(TwoDatabases, WithOneStateDirectoryAreToldByEveryCommand) {
    EXPECT_EQ(InOneDirectory(database, {"copy", "tsmdm030", "--full"}).exitCode, 0);
    const std::string told = "belongs to another database: " + database.string();
    EXPECT_THAT(Unwrapped(InOneDirectory(other, {"check"}).out), HasSubstr(told));
    EXPECT_THAT(Unwrapped(InOneDirectory(other, {"status"}).out), HasSubstr(told));
    const Finished history = InOneDirectory(other, {"history"});
    EXPECT_EQ(history.exitCode, 1);
    EXPECT_THAT(Unwrapped(history.err), HasSubstr(told));
    EXPECT_EQ(InOneDirectory(database, {"history"}).err, "");
}

TEST_F(TwoDatabases, KeepTheDirectoryBesideThemWhereverTheyAreMoved) {
    EXPECT_EQ(Of(other, {"copy", "tsmdm030", "--full"}).exitCode, 0);
    fs::rename(other, directory / "moved.db");
    fs::rename(directory / "other.db.state", directory / "moved.db.state");
    const Finished run = Of(directory / "moved.db", {"copy", "tsmdm030", "--incremental", "-q"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out + run.err, IsEmpty());
    // And whoever names it for another database hears whose it is.
    const Finished stranger = Of(database, {"history"}, (directory / "moved.db.state").string());
    EXPECT_THAT(Unwrapped(stranger.err), HasSubstr((directory / "moved.db").string()));
}

}  // namespace
}  // namespace iqrx::testing
