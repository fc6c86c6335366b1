#include "support/sqlite_process.h"

#include <utility>

#include "platform/conversions.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::testing {

std::unique_ptr<platform::Connection> EmbeddedDatabases::CreateConnection(std::string_view) {
    return platform::CreateSqliteConnection({});  // a test's database need not outlive a crash
}

SqliteProcess::SqliteProcess(platform::Integer databasePlatform) : SqliteProcess(databasePlatform, erp) {}

SqliteProcess::SqliteProcess(erp::ErpProvider& erps) : SqliteProcess(runtime::kSqlServer, erps) {}

SqliteProcess::SqliteProcess(platform::Integer databasePlatform, erp::ErpProvider& erps)
    : TestProcess(static_cast<EmbeddedDatabases&>(*this), erps) {
    const auto file = directory.path / "local.db";
    platform::ApplySqliteScript(file, Contents(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql"));
    Reopen(databasePlatform);
    process.runLog.SetLogFileName((directory.path / "run.log").string());
    process.runLog.KeepErrors(process.database.LastErrors());
}

void SqliteProcess::Reopen(platform::Integer databasePlatform) {
    process.database.OpenDatabase("Provider=SQLite;Data Source=" + (directory.path / "local.db").string(), "",
                                  databasePlatform);
}

std::vector<std::string> SqliteProcess::Rows(const std::string& sql, const std::vector<std::string>& fields) {
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

void SqliteProcess::GivenTable(const std::string& table, platform::Integer filterFlag) {
    Execute("INSERT INTO tstables(tablename,lutm,in_use,reqd,FilterFlag) VALUES(N'" + table +
            "',CONVERT(DATETIME,'2026-03-01 10:00:00',120),0,1," + std::to_string(filterFlag) + ")");
}

std::string SqliteProcess::LastUpdate(const std::string& table) {
    return Rows("SELECT * FROM tstables WHERE tablename = N'" + table + "'", {"lutm"}).at(0);
}

}  // namespace iqrx::testing
