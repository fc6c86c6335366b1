// Whole copies into an embedded database, watched: full, look, again with a bad extract, look.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "control/control_tables.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/sqlite/sqlite_database.h"
#include "platform/watch/watched_database.h"
#include "support/extract_erps.h"
#include "support/late_database.h"
#include "support/test_process.h"
#include "tables/orders/orders.h"
#include "tables/routines.h"

namespace iqrx::platform::watch {
namespace {

using ::testing::HasSubstr;

constexpr int kFull = 1, kIncremental = 2;

struct Embedded : DatabaseProvider {
    std::unique_ptr<Connection> CreateConnection(std::string_view) override {
        return CreateSqliteConnection(control::CoordinatingTables());
    }
};

struct Kept : RemovedRows {
    std::vector<std::string> statements;
    void Begin(std::string_view) override {}
    void Row(std::string_view statement) override { statements.emplace_back(statement); }
    void End() override {}
};

// As the copy writes dates.
std::string Moment(Date moment) { return "CONVERT(DATETIME,'" + IsoDateTime(moment) + "',120)"; }

// Asks from the n-th look on.
struct Request : StopRequest {
    mutable int looks = -1;
    std::optional<std::string> Asked() const override {
        if (looks > 0) --looks;
        return looks == 0 ? std::optional<std::string>("SIGTERM") : std::nullopt;
    }
};

// The parameter: how many rows a trip to the database takes.
class WatchedCopies : public ::testing::TestWithParam<std::size_t> {
protected:
    WatchedCopies() {
        ApplySqliteScript(file, testing::Contents(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql"));
        Reopen();
        site.process.runLog.SetLogFileName((site.directory.path / "run.log").string());
    }
    void Reopen() {
        site.process.database.OpenDatabase("Provider=SQLite;Data Source=" + file.string(), "",
                                           runtime::kSqlServer);
    }
    void WriteTypes(int count) {
        std::ofstream csv(site.directory.path / "tsmdm030.csv");
        csv << "cstp,desc,proc,ract,dahe\n";
        for (int i = 0; i < count; ++i) csv << "T" << i << ",Type " << i << ",P,R,1\n";
    }
    void WriteDeletions(int count) {
        std::ofstream csv(site.directory.path / "tsmdm030.audit.csv");
        csv << "changed_at,change,cstp,desc,proc,ract,dahe\n";
        for (int i = 0; i < count; ++i) csv << "2026-03-04 02:00:00,D,T" << i << ",,,,\n";
    }
    void Copy(int method) {
        Reopen();
        counts.copied = counts.removed = 0;
        site.run.counters = {};
        tables::CopyServiceTypes(
            {site.run, "tsmdm030", site.directory.path.string(), static_cast<Integer>(method)});
    }
    Long Rows() {
        return ToLong(site.process.database.OpenRecordset("SELECT count(*) FROM tsmdm030")->Field(0));
    }
    void ExpectCounts(std::int64_t copied, std::int64_t removed) const {
        EXPECT_EQ(counts.copied, copied);
        EXPECT_EQ(counts.removed, removed);
    }

    Embedded embedded;
    testing::ExtractErps extracts;
    RowCounts counts;
    RemovalLimits limits;
    std::optional<RefusedRemoval> refused;
    Request stop;
    Kept kept;
    testing::LateDatabases late{embedded, GetParam()};
    std::unique_ptr<DatabaseProvider> counted = CountRows(
                                          GetParam() == 1 ? static_cast<DatabaseProvider&>(embedded) : late,
                                          counts),
                                      keeping = KeepRemovedRows(*counted, kept, Moment),
                                      guarded = GuardRemovals(*keeping, limits, refused),
                                      watched = StopBetweenStatements(*guarded, stop);
    testing::TestProcess site{*watched, extracts};
    const std::filesystem::path file = site.directory.path / "local.db";
};

TEST_P(WatchedCopies, CountWhatACutExtractRemovesOnceItIsAllowed) {
    WriteTypes(40);
    Copy(kFull);
    ExpectCounts(40, 0);
    Copy(kFull);
    ExpectCounts(40, 0);

    WriteTypes(3);
    limits.all = RemovalLimit::Parse("37").value();
    Copy(kFull);

    ExpectCounts(3, 37);
    EXPECT_EQ(Rows(), 3);
}

TEST_P(WatchedCopies, StopBeforeACutExtractRemovesARow) {
    WriteTypes(40);
    Copy(kFull);
    WriteTypes(3);

    EXPECT_THROW(Copy(kFull), RuntimeError);

    EXPECT_EQ(Rows(), 40);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->Text(), "would remove 37 of 40 rows (92 %, limit 10 %)");
    EXPECT_THAT(site.RunLog(), HasSubstr("tsmdm030: would remove 37 of 40 rows (92 %, limit 10 %)"));
}

TEST_P(WatchedCopies, StopBeforeAnEmptyExtractEmptiesASmallTable) {
    WriteTypes(5);
    Copy(kFull);
    WriteTypes(0);
    EXPECT_THROW(Copy(kFull), RuntimeError);
    EXPECT_EQ(Rows(), 5);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->Text(), "would remove 5 of 5 rows (100 %, limit: never all rows)");
}

TEST_P(WatchedCopies, StopAnIncrementalCopyAtTheDeleteThatIsOneTooMany) {
    site.process.database.Execute(
        "INSERT INTO tstables(tablename,lutm,in_use,reqd) VALUES(N'tsmdm030',"
        "CONVERT(DATETIME,'2026-03-01 10:00:00',120),0,1)");
    WriteTypes(40);
    Copy(kFull);
    site.process.database.Execute("UPDATE tstables SET lutm = CONVERT(DATETIME,'2026-03-01 10:00:00',120)");
    WriteDeletions(30);

    EXPECT_THROW(Copy(kIncremental), RuntimeError);

    EXPECT_EQ(Rows(), 20);
    ExpectCounts(0, 20);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->Text(), "would remove 21 of 40 rows (52 %, limit 10 %)");
}

TEST_P(WatchedCopies, KeepTheRowsThatTheyRemoveAsStatementsThatBringThemBack) {
    runtime::DatabaseSession& database = site.process.database;
    const auto rows = [&] {
        std::string text;
        for (auto found = database.OpenRecordset("SELECT * FROM tssoc200 ORDER BY orno"); !found->Eof();
             found->MoveNext())
            for (std::size_t i = 0; i < found->FieldNames().size(); ++i) {
                const Value value = found->Field(static_cast<int>(i));
                text += (value.Is<Null>()   ? "NULL"
                         : value.Is<Date>() ? IsoDateTime(value.As<Date>())
                                            : ToText(value)) +
                        "|";
            }
        return text;
    };
    limits.all = RemovalLimit::Parse("any").value();
    for (int i = 0; i < 600; ++i)
        database.Execute("INSERT INTO tssoc200(orno,ccfg,stna,ordt,osta,ordu,upd_flag) VALUES(N'O" +
                         std::to_string(1000 + i) + "',N'',N'O''Hara''s " + std::to_string(i) +
                         "',CONVERT(DATETIME,'2026-03-04 05:06:07',120)," + std::to_string(i) + ",0.1,0)");
    const std::string before = rows();
    database.Execute("UPDATE tssoc200 SET upd_flag = 1 ");
    database.Execute("DELETE FROM tssoc200 WHERE upd_flag = 1");
    ASSERT_EQ(rows(), "");
    ASSERT_EQ(kept.statements.size(), 600u);

    for (const std::string& statement : kept.statements) database.Execute(statement);

    EXPECT_EQ(rows(), before);
}

TEST_P(WatchedCopies, StopBetweenTwoRowsWithoutASweep) {
    WriteTypes(40);
    Copy(kFull);
    WriteTypes(3);
    stop.looks = 4;  // the session's settings, the mark, two rows

    EXPECT_THROW(Copy(kFull), RuntimeError);

    stop.looks = -1;
    ExpectCounts(1, 0);
    EXPECT_EQ(Rows(), 40);
    EXPECT_THAT(site.RunLog(), HasSubstr("stopped by SIGTERM"));
}

INSTANTIATE_TEST_SUITE_P(ByTrips, WatchedCopies, ::testing::Values(std::size_t{1}, std::size_t{7}),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace iqrx::platform::watch
