#include "platform/sqlite/connection.h"

#include <algorithm>
#include <limits>

#include "platform/connection_string.h"
#include "platform/sqlite/errors.h"

namespace iqrx::platform {

std::unique_ptr<Connection> CreateSqliteConnection(TableNames controlTables, WaitListener listener) {
    return std::make_unique<sqlite::SqliteConnection>(std::move(controlTables), std::move(listener));
}

WaitListener TellingEachMinute(std::function<void(const std::string& text)> tell) {
    return [tell = std::move(tell), told = std::chrono::minutes(0)](
               std::chrono::seconds waited, const std::filesystem::path& file) mutable {
        const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(waited);
        if (minutes > told)
            tell("waiting for " + std::to_string(waited.count()) +
                 " s for the database, which another program holds: " + file.string());
        told = minutes;  // fewer than before: another wait
        return true;
    };
}

void ApplySqliteScript(const std::filesystem::path& file, std::string_view script) {
    sqlite::Database database(file, sqlite::Database::Access::Create);
    sqlite::Transaction transaction(database);
    database.Run(std::string(script));
    transaction.Keep();
}

}  // namespace iqrx::platform

namespace iqrx::platform::sqlite {

void SqliteConnection::SetCommandTimeout(int seconds) {
    commandTimeout_ = seconds;
    if (session_) session_->Call([&] { session_->Handle().SetLockWait(seconds); });
}

void SqliteConnection::Open(const std::string& connectionString) {
    try {
        const ConnectionString keys(connectionString);
        const auto file = keys.Find("Data Source");
        if (!file || file->empty())
            throw DatabaseFailure(kDatabaseError, "The connection string names no file (Data Source=FILE)",
                                  "08001");
        Close();
        const bool readOnly = EqualIgnoringCase(keys.Find("Mode").value_or(""), "ReadOnly");
        session_ = std::make_unique<Session>(*file, readOnly ? Database::Access::Read : Database::Access::Write,
                                             errors_, controlTables_, listener_);
        session_->Handle().SetLockWait(commandTimeout_);
    } catch (...) {
        errors_ = {EntryOf(std::current_exception())};
        throw;
    }
}

void SqliteConnection::Close() {
    if (!session_) return;
    const std::unique_ptr<Session> closing = std::move(session_);
    try {
        closing->Call([&] { closing->Commit(); });
    } catch (...) {  // LastErrors tells
    }
}

std::int32_t SqliteConnection::Execute(const platform::Statement& statement) {
    Session& session = Opened();
    const std::int64_t affected = session.Call([&] { return session.Run(session.Find(statement)); });
    return static_cast<std::int32_t>(std::min<std::int64_t>(affected, std::numeric_limits<std::int32_t>::max()));
}

Session& SqliteConnection::Opened() {
    if (session_) return *session_;
    const DatabaseFailure closed(kObjectClosed, "The connection is closed", "HY000");
    errors_ = {EntryOf(std::make_exception_ptr(closed))};
    throw closed;
}

}  // namespace iqrx::platform::sqlite
