// Copies over a connection that answers late leave what copies leave that wait for each answer: rows, counts,
// logs and the trace of their statements.
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

#include "hosting/dispatch.h"
#include "platform/sqlite/sqlite_database.h"
#include "platform/trace/tracing_database.h"
#include "sample/sample.h"
#include "support/extract_erps.h"
#include "support/late_database.h"
#include "support/local_process.h"
#include "support/test_process.h"
#include "support/twin_database.h"

namespace iqrx::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr long kOrders = 60;

// A site of its own with an empty local database, whose statements are traced.
class Site {
public:
    explicit Site(std::size_t unitsPerTrip, const std::string& furtherSchema = "")
        : late_(embedded_, unitsPerTrip) {
        platform::ApplySqliteScript(File(), testing::Contents(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql") +
                                                "INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,1);" +
                                                furtherSchema);
        process.process.database.OpenDatabase("Provider=SQLite;Data Source=" + File().string(), "",
                                              runtime::kSqlServer);
        process.process.runLog.SetLogFileName((directory_.path / "run.log").string());
        process.process.runLog.KeepErrors(process.process.database.LastErrors());
    }

    // False: the copy failed.
    bool Copy(const control::TableRoutine& routine, const std::filesystem::path& extract,
              platform::Integer method) {
        process.run.counters = {};
        bool copied = true;
        try {
            routine.copy({process.run, std::string(routine.table), extract.string(), method});
        } catch (const platform::RuntimeError&) {
            copied = false;
        }
        process.process.database.Commit();
        return copied;
    }
    std::string Counts() const {
        const control::Counters& counts = process.run.counters;
        return std::to_string(counts.inserted) + " " + std::to_string(counts.updated) + " " +
               std::to_string(counts.deleted);
    }
    std::filesystem::path File() const { return directory_.path / "local.db"; }
    std::string Trace() const { return testing::Contents(directory_.path / "trace"); }
    std::string Log() const { return testing::Contents(directory_.path / "run.log"); }

private:
    TemporaryDirectory directory_;
    PlainTextFiles files_;
    EmbeddedDatabases embedded_;
    LateDatabases late_;
    platform::trace::TracingDatabaseProvider traced_{late_, files_, directory_.path / "trace"};
    ExtractErps erps_;

public:
    TestProcess process{traced_, erps_};
};

const control::TableRoutine& RoutineOf(std::string_view table) {
    return *std::ranges::find(hosting::Tables(), table, &control::TableRoutine::table);
}

// The parameter: the rows of a trip.
class LateAnswers : public ::testing::TestWithParam<std::size_t> {
protected:
    LateAnswers() { sample::WriteSample(extract.path, {.orders = kOrders, .changes = 40, .seed = 5}); }

    void ExpectSame(Site& late, Site& waiting) const {
        EXPECT_EQ(late.Counts(), waiting.Counts());
        EXPECT_EQ(late.Log(), waiting.Log());
        EXPECT_EQ(late.Trace(), waiting.Trace());
        ExpectEqualFiles(late.File(), waiting.File());
    }

    const TemporaryDirectory extract;
};

TEST_P(LateAnswers, LeaveTheSameOfEveryTableInFullAgainAndFromTheTrail) {
    Site late(GetParam()), waiting(1);
    for (const control::TableRoutine& routine : hosting::Tables()) {
        if (routine.table == "tcccp030") continue;  // comes from the calendar service
        SCOPED_TRACE(std::string(routine.table));
        for (Site* site : {&late, &waiting}) {
            site->process.process.database.Execute(
                "INSERT INTO tstables(tablename, FilterFlag, lutm) VALUES(N'" + std::string(routine.table) +
                "', 127, CONVERT(DATETIME,'2025-06-19 00:00:00',120))");
            for (const auto method : {control::kFull, control::kFull, control::kIncremental})
                EXPECT_TRUE(site->Copy(routine, extract.path, method)) << site->Log();
        }
        ExpectSame(late, waiting);
    }
}

TEST_P(LateAnswers, LeaveWhatWasBeforeARecordThatFailsAndNothingOfWhatFollows) {
    const std::string refuses =
        "CREATE TRIGGER refuses BEFORE INSERT ON tssoc200 WHEN (SELECT count(*) FROM tssoc200) = 17 "
        "BEGIN SELECT RAISE(ABORT, 'no room for it'); END;";
    Site late(GetParam(), refuses), waiting(1, refuses);
    for (Site* site : {&late, &waiting}) {
        site->process.process.database.Execute(
            "INSERT INTO tstables(tablename, FilterFlag) VALUES(N'tssoc200', 127)");
        EXPECT_FALSE(site->Copy(RoutineOf("tssoc200"), extract.path, control::kFull));
    }
    EXPECT_THAT(waiting.Log(), HasSubstr("no room for it"));
    EXPECT_THAT(waiting.Trace(), HasSubstr("no room for it"));
    ExpectSame(late, waiting);
}

TEST_P(LateAnswers, TellTheFirstOfTwoFailures) {
    const std::string refuses =
        "CREATE TRIGGER refuses BEFORE INSERT ON tsmdm030 WHEN NEW.cstp = 'B' "
        "BEGIN SELECT RAISE(ABORT, 'no room for it'); END;";
    std::ofstream(extract.path / "tsmdm030.csv")
        << "cstp,desc,proc,ract,dahe\nA,a,P,R,1\nB,b,P,R,1\nC,c,P,R,x\n";
    Site late(GetParam(), refuses), waiting(1, refuses);
    for (Site* site : {&late, &waiting})
        EXPECT_FALSE(site->Copy(RoutineOf("tsmdm030"), extract.path, control::kFull));
    EXPECT_THAT(late.Log(), HasSubstr("no room for it"));
    EXPECT_THAT(late.Log(), Not(HasSubstr("dahe")));
    ExpectSame(late, waiting);
}

INSTANTIATE_TEST_SUITE_P(RowsATrip, LateAnswers,
                         ::testing::Values(std::size_t{2}, std::size_t{15}, std::size_t{1000}),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace iqrx::testing
