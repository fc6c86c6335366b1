// A statement that is bound leaves what its text leaves: for every statement of every table.
#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <fstream>

#include "platform/sqlite/sqlite_database.h"
#include "runtime/sql.h"
#include "support/any_extract.h"
#include "support/test_process.h"
#include "support/twin_database.h"

namespace iqrx::testing {
namespace {

using ::testing::IsEmpty;

// A site whose ERP is a directory and whose database is two.
struct Site {
    explicit Site(platform::Integer databasePlatform) {
        std::ifstream schema(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql");
        const std::string script(std::istreambuf_iterator<char>(schema), {});
        for (const char* file : {"bound.db", "texts.db"})
            platform::ApplySqliteScript(
                directory.path / file, script +
                                           "INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,1);"
                                           "INSERT INTO tsmdm140(emno,ccal) VALUES('E1','C''1'),('E2','C2');");
        process.process.database.OpenDatabase("", "", databasePlatform);
        process.process.runLog.SetLogFileName((directory.path / "tcccp030_20260304.log").string());
        process.process.runLog.KeepErrors(process.process.database.LastErrors());
    }
    void Copy(const control::TableRoutine& routine, platform::Integer syncMethod) {
        process.run.counters = {};
        routine.copy({process.run, std::string(routine.table), directory.path.string(), syncMethod});
        process.process.database.Commit();
        EXPECT_EQ(process.process.runLog.FirstError(), "");
    }

    TemporaryDirectory directory;
    ExtractErps erps;
    const std::filesystem::path bound = directory.path / "bound.db", texts = directory.path / "texts.db";
    TwinDatabases databases{EmbeddedTwin(bound), EmbeddedTwin(texts, true), true};
    TestProcess process{databases, erps};
};

class BothWays : public ::testing::TestWithParam<platform::Integer> {
protected:
    const bool onOracle = GetParam() == runtime::kOracle;
};

TEST_P(BothWays, LeaveTheSameRowsAndCountsOfEveryTable) {
    for (const control::TableRoutine& routine : hosting::Tables()) {
        const std::string table(routine.table);
        if (table == "tcccp030") continue;  // comes from the calendar service
        SCOPED_TRACE(table);
        EXPECT_TRUE(rc::check(table, [&] {
            Site site(GetParam());
            site.process.process.database.Execute("INSERT INTO tstables(tablename, FilterFlag) VALUES(N'" +
                                                  table + "', 127)");
            site.databases.unbound.clear();  // that text
            WriteAnyExtract(routine, site.directory.path);
            site.Copy(routine, control::kFull);
            site.Copy(routine, control::kFull);  // over rows that are there
            site.process.clock.now = At("2026-03-05 05:06:07");
            site.Copy(routine, control::kIncremental);
            ExpectEqualFiles(site.bound, site.texts);
            RC_ASSERT(site.databases.statements > 15);
            RC_ASSERT(site.databases.unbound.empty());
            RC_ASSERT(!::testing::Test::HasFailure());
        }));
    }
}

// Oracle's days go to the server unescaped: only the text says what they are.
TEST_P(BothWays, LeaveTheSameCalendars) {
    Site site(GetParam());
    std::ofstream(site.directory.path / "calendars.csv", std::ios::binary) << kAnyCalendars;
    const control::TableRoutine& calendars = hosting::Tables().back();
    for (const platform::Integer method : {control::kFull, control::kIncremental}) {
        calendars.copy({site.process.run, "tcccp030", site.directory.path.string(), method});
        site.process.process.database.Commit();
    }
    ExpectEqualFiles(site.bound, site.texts);
    EXPECT_EQ(site.databases.unbound.empty(), !onOracle);
}

constexpr runtime::Sql<6> kUpdate =
    "UPDATE tssoc200 SET ordu={a}, minu={b}, ofbp={c}, ordt={d} WHERE orno={e} AND minu<>{f}";

// Numbers of both signs, the longest reals, dates and none.
TEST_P(BothWays, LeaveTheSameOfAnyValue) {
    Site site(GetParam());
    auto& database = site.process.process.database;
    const runtime::SqlLiterals& literals = database.Literals();
    database.Execute("INSERT INTO tssoc200(orno, minu) VALUES(N'1', 7)");
    site.databases.unbound.clear();  // that text
    EXPECT_TRUE(rc::check([&] {
        const auto text = *rc::gen::string<std::string>();
        const auto real = *rc::gen::arbitrary<double>();
        const auto whole = *rc::gen::arbitrary<platform::Long>();
        const auto date =
            literals.UtcDateLiteral(platform::Date{*rc::gen::inRange<std::int64_t>(0, 253402300799)});
        database.Execute(kUpdate(literals.FormatDecimal(real), platform::Literal::Whole(whole),
                                 literals.QuoteSqlString(text), date.value_or(platform::Literal()),
                                 literals.QuoteSqlString("1"), platform::Literal::Whole(-whole)));
        database.Commit();
        ExpectEqualFiles(site.bound, site.texts);
        RC_ASSERT(!::testing::Test::HasFailure());
    }));
    EXPECT_THAT(site.databases.unbound, IsEmpty());
}

TEST_P(BothWays, FailAlikeOfADateThatTheServersDoNotKnowAndOfANumberWithAComma) {
    Site site(GetParam());
    auto& database = site.process.process.database;
    constexpr runtime::Sql<1> kBad = "UPDATE tssoc200 SET ordt={a}";
    EXPECT_THROW(database.Execute(kBad(database.Literals().WrapDateLiteral("10000-01-01 00:00:00"))),
                 platform::RuntimeError);
    EXPECT_THROW(database.Execute(kBad(platform::Literal::Unknown("1,5"))), platform::RuntimeError);
}

INSTANTIATE_TEST_SUITE_P(OnPlatform, BothWays, ::testing::Values(runtime::kSqlServer, runtime::kOracle),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace iqrx::testing
