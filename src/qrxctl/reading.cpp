#include "qrxctl/reading.h"

#include <iostream>

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/error.h"
#include "qrxctl/books.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

bool IsEmbedded(const platform::ConnectionString& keys) {
    return platform::EqualIgnoringCase(keys.Provider(), "SQLite");
}

// Of a text that is not a list of keys, which some providers take.
std::optional<platform::ConnectionString> KeysOf(const std::string& connection) {
    try {
        return platform::ConnectionString(connection);
    } catch (const platform::RuntimeError&) {
        return std::nullopt;
    }
}

}  // namespace

std::string ForReading(const std::string& connection) {
    auto keys = KeysOf(connection);
    if (!keys || !IsEmbedded(*keys)) return connection;
    keys->Remove("Mode");
    return keys->Text() + "Mode=ReadOnly";
}

std::string DatabaseName(const Options& options) {
    const auto keys = KeysOf(options.connection);
    if (!keys) return options.database.empty() ? "database" : options.database;
    if (IsEmbedded(*keys))
        return platform::Utf8(platform::Path(keys->Find("Data Source").value_or("")).filename());
    std::string name;
    for (const char* key : {"Server", "Servername", "Host", "Data Source", "DSN", "Service"})
        if (name.empty()) name = keys->Find(key).value_or("");
    std::string database = options.database;
    for (const char* key : {"Database", "Initial Catalog"})
        if (database.empty()) database = keys->Find(key).value_or("");
    return name.empty() ? database : database.empty() ? name : name + " " + database;
}

bool IsEmbedded(const Options& options) {
    const auto keys = KeysOf(options.connection);
    return keys && IsEmbedded(*keys);
}

bool IsPostgres(const Options& options) {
    const auto keys = KeysOf(options.connection);
    return keys && platform::EqualIgnoringCase(keys->Provider(), "PostgreSQL");
}

std::vector<std::string> CatalogTables(hosting::Composition& parts, const Options& options) {
    control::Process process(PlainPorts(parts, std::cerr));
    Options looking = options;
    looking.connection = ForReading(options.connection);
    PrepareProcess(process, looking);
    return TablesOf(process.catalog);
}

std::int64_t NumberFrom(runtime::DatabaseSession& database, const platform::Statement& question) {
    return platform::ToLong(database.OpenRecordset(question)->Field(0));
}

void ReadDatabase(hosting::Composition& parts, const Options& options,
                  const std::function<void(runtime::DatabaseSession& session)>& read) {
    constexpr int kMostAttempts = 5;
    platform::Machine machine = parts.Machine();
    runtime::DatabaseSession session(machine, parts.PlainDatabases());
    for (int attempt = 1;; ++attempt) {
        session.OpenDatabase(ForReading(options.connection), options.database, PlatformNumber(options));
        read(session);
        try {
            session.Commit();
            return session.CloseDatabase();
        } catch (const platform::RuntimeError&) {
            if (attempt == kMostAttempts) throw;
        }
    }
}

}  // namespace iqrx::qrxctl
