#include "support/local_process.h"

#include <utility>

#include "platform/conversions.h"
#include "platform/postgres/postgres_database.h"
#include "platform/sqlite/sqlite_database.h"
#include "support/postgres_server.h"

namespace iqrx::testing {

namespace {

std::string Schema(const std::string& kind) {
    return Contents(IQRX_SOURCE_DIRECTORY "/schema/" + kind + ".sql");
}

std::string OnServer() {
    static PostgresServer server({.listens = PostgresOptions::Listens::Socket});
    const std::string connection = "Provider=PostgreSQL;Host=" + server.Host() +
                                   ";Port=" + std::to_string(server.Port()) +
                                   ";Database=postgres;User=postgres";
    const auto schema = platform::CreatePostgresConnection({});
    schema->Open(connection);
    schema->Execute("DROP SCHEMA public CASCADE; CREATE SCHEMA public;" + Schema("postgresql"));
    return connection;
}

std::string Embedded(const std::filesystem::path& file) {
    platform::ApplySqliteScript(file, Schema("sqlite"));
    return "Provider=SQLite;Data Source=" + file.string();
}

}  // namespace

// A test's database need not outlive a crash: no table of it is one that others wait for.
std::unique_ptr<platform::Connection> EmbeddedDatabases::CreateConnection(std::string_view) {
    return platform::CreateSqliteConnection({});
}

std::unique_ptr<platform::Connection> LocalDatabases::CreateConnection(std::string_view) {
    return OnPostgres() ? platform::CreatePostgresConnection({}) : platform::CreateSqliteConnection({});
}

std::vector<platform::Integer> LocalPlatforms() {
    if (OnPostgres()) return {runtime::kSqlServer};
    return {runtime::kSqlServer, runtime::kOracle};
}

LocalProcess::LocalProcess(platform::Integer databasePlatform) : LocalProcess(databasePlatform, erp) {}

LocalProcess::LocalProcess(erp::ErpProvider& erps) : LocalProcess(runtime::kSqlServer, erps) {}

LocalProcess::LocalProcess(platform::Integer databasePlatform, erp::ErpProvider& erps)
    : TestProcess(static_cast<LocalDatabases&>(*this), erps),
      connection_(OnPostgres() ? OnServer() : Embedded(directory.path / "local.db")) {
    Reopen(databasePlatform);
    process.runLog.SetLogFileName((directory.path / "run.log").string());
    process.runLog.KeepErrors(process.database.LastErrors());
}

void LocalProcess::Reopen(platform::Integer databasePlatform) {
    process.database.OpenDatabase(connection_, "", databasePlatform);
}

std::vector<std::string> LocalProcess::Rows(const std::string& sql, const std::vector<std::string>& fields) {
    std::vector<std::string> found;
    for (auto rows = process.database.OpenRecordset(sql); !rows->Eof(); rows->MoveNext()) {
        std::string line;
        const char* separator = "";
        for (const std::string& field : fields) {
            const platform::Value value = rows->Field(field);
            line += std::exchange(separator, "|");
            if (value.Is<platform::Null>())
                line += "NULL";
            else if (value.Is<platform::Date>())
                line += platform::IsoDateTime(value.As<platform::Date>());
            else
                line += platform::ToText(value);
        }
        found.push_back(line);
    }
    return found;
}

void LocalProcess::GivenTable(const std::string& table, platform::Integer filterFlag) {
    Execute("INSERT INTO tstables(tablename,lutm,in_use,reqd,FilterFlag) VALUES(N'" + table +
            "',CONVERT(DATETIME,'2026-03-01 10:00:00',120),0,1," + std::to_string(filterFlag) + ")");
}

std::string LocalProcess::LastUpdate(const std::string& table) {
    return Rows("SELECT * FROM tstables WHERE tablename = N'" + table + "'", {"lutm"}).at(0);
}

}  // namespace iqrx::testing
