// What a copy leaves on PostgreSQL is what it leaves in the embedded database: for every statement of every table.
#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <fstream>

#include "platform/postgres/postgres_database.h"
#include "platform/sqlite/sqlite_database.h"
#include "qrxctl/schema_script.h"
#include "support/any_extract.h"
#include "support/postgres_server.h"
#include "support/test_process.h"
#include "support/twin_database.h"

namespace iqrx::testing {
namespace {

std::string Script(const char* name) {
    std::ifstream file(std::string(IQRX_SOURCE_DIRECTORY "/schema/") + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

Twin PostgresTwin() {
    static PostgresServer server({.listens = PostgresOptions::Listens::Socket});
    return {[] { return platform::CreatePostgresConnection(control::CoordinatingTables()); },
            "Provider=PostgreSQL;Host=" + server.Host() + ";Port=" + std::to_string(server.Port()) +
                ";Database=postgres;User=postgres",
            false};
}

// A site whose ERP is a directory and whose database is two.
struct Site {
    Site() {
        constexpr const char* kRows =
            "INSERT INTO tsparameters(Qrxcal,tvkparam) VALUES(30,1);"
            "INSERT INTO tsmdm140(emno,ccal) VALUES('E1','C''1'),('E2','C2');";
        platform::ApplySqliteScript(directory.path / "local.db", Script("sqlite.sql") + kRows);
        const auto server = postgres.make();
        server->Open(postgres.connectionString);
        server->Execute(std::string_view("DROP SCHEMA IF EXISTS public CASCADE"));
        server->Execute("CREATE SCHEMA public;" + Script("postgresql.sql") + kRows);
        process.process.database.OpenDatabase("", "", runtime::kSqlServer);
        process.process.runLog.SetLogFileName((directory.path / "tcccp030_20260304.log").string());
        process.process.runLog.KeepErrors(process.process.database.LastErrors());
    }
    void Copy(const control::TableRoutine& routine, platform::Integer syncMethod) {
        process.run.counters = {};
        routine.copy({process.run, std::string(routine.table), directory.path.string(), syncMethod});
        process.process.database.Commit();
        EXPECT_EQ(process.process.runLog.FirstError(), "");
    }
    void ExpectEqual() const {
        std::vector<std::string> tables;
        for (const qrxctl::TableText& table : qrxctl::TablesOf(Script("sqlite.sql")))
            tables.push_back(table.name);
        ExpectEqualTables(embedded, postgres, tables);
    }

    TemporaryDirectory directory;
    const Twin embedded = EmbeddedTwin(directory.path / "local.db"), postgres = PostgresTwin();
    ExtractErps erps;
    TwinDatabases databases{embedded, postgres, false};
    TestProcess process{databases, erps};
};

TEST(OnPostgres, EveryTableGetsTheRowsAndCountsOfTheEmbeddedDatabase) {
    for (const control::TableRoutine& routine : hosting::Tables()) {
        const std::string table(routine.table);
        if (table == "tcccp030") continue;  // comes from the calendar service
        SCOPED_TRACE(table);
        EXPECT_TRUE(rc::check(table, [&] {
            Site site;
            site.process.process.database.Execute("INSERT INTO tstables(tablename, FilterFlag) VALUES(N'" +
                                                  table + "', 127)");
            WriteAnyExtract(routine, site.directory.path);
            site.Copy(routine, control::kFull);
            site.Copy(routine, control::kFull);  // over rows that are there
            site.process.clock.now = At("2026-03-05 05:06:07");
            site.Copy(routine, control::kIncremental);
            site.ExpectEqual();
            RC_ASSERT(!::testing::Test::HasFailure());
        }));
    }
}

TEST(OnPostgres, CalendarsAreThoseOfTheEmbeddedDatabase) {
    Site site;
    std::ofstream(site.directory.path / "calendars.csv", std::ios::binary) << kAnyCalendars;
    const control::TableRoutine& calendars = hosting::Tables().back();
    for (const platform::Integer method : {control::kFull, control::kIncremental}) {
        calendars.copy({site.process.run, "tcccp030", site.directory.path.string(), method});
        site.process.process.database.Commit();
    }
    site.ExpectEqual();
}

}  // namespace
}  // namespace iqrx::testing
