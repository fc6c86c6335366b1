// The one database connection of the process.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/database.h"
#include "runtime/sql_literals.h"

namespace iqrx::runtime {

class DatabaseSession {
public:
    DatabaseSession(platform::Machine& machine, platform::DatabaseProvider& provider);

    void SetPlatform(platform::Integer platform) { literals_.SetPlatform(platform); }
    platform::Integer Platform() const { return literals_.Platform(); }
    const SqlLiterals& Literals() const { return literals_; }

    // Opens the connection without time limits and readies the session; an empty database name leaves the
    // login's own. Raises RuntimeError.
    void OpenDatabase(const std::string& connectionString, const std::string& localDatabase);
    void CloseDatabase();  // raises nothing
    bool IsOpen() const { return connection_ != nullptr; }

    const std::string& CurrentDatabase() const { return currentDatabase_; }

    // Raises "object not set" while no database is open.
    platform::Connection& DbConnection();
    platform::Errors* LastErrors();  // null while there is no connection

    // The number of rows affected.
    platform::Long Execute(std::string_view sql) { return DbConnection().Execute(sql); }
    std::unique_ptr<platform::Recordset> OpenRecordset(
        std::string_view sql, platform::CursorType cursor = platform::CursorType::ForwardOnly,
        platform::LockType lock = platform::LockType::ReadOnly);

    // Of the connection; see there.
    void Commit() { DbConnection().Commit(); }
    void RunAsUnit(const platform::Connection::Work& work) { DbConnection().RunAsUnit(work); }
    void RunExclusively(const platform::Connection::Work& work) { DbConnection().RunExclusively(work); }

    void UpdateStatistics(std::string_view table);  // raises nothing: statistics are a help, not a result

private:
    platform::DatabaseProvider& provider_;
    SqlLiterals literals_;
    std::unique_ptr<platform::Connection> connection_;
    std::string currentDatabase_;
};

}  // namespace iqrx::runtime
