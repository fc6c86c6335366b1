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
    DatabaseSession(platform::Machine& machine, platform::DatabaseProvider& provider)
        : provider_(provider), literals_(machine, DialectOf(kSqlServer)) {}

    // Opens the connection without time limits and readies the session; an empty database name leaves the
    // login's own. Raises RuntimeError.
    void OpenDatabase(const std::string& connectionString, const std::string& localDatabase,
                      platform::Integer platform = kSqlServer);
    void CloseDatabase();  // raises nothing

    // Of the platform that the session was opened for last.
    const SqlLiterals& Literals() const { return literals_; }
    const Dialect& Speaks() const { return literals_.Speaks(); }
    const std::string& CurrentDatabase() const { return currentDatabase_; }

    // Raises "object not set" while no database is open.
    platform::Connection& DbConnection();
    // Null while there is no connection.
    platform::Errors* LastErrors() { return connection_ ? &connection_->LastErrors() : nullptr; }

    // The number of rows affected.
    platform::Long Execute(const platform::Statement& statement) { return DbConnection().Execute(statement); }
    // Without waiting for the counts; of the connection, see there.
    void Send(const platform::Statement& statement) { DbConnection().Send(statement, unasked_); }
    using MakeStatement = platform::Connection::MakeStatement;
    void Upsert(const platform::Statement& update, const MakeStatement& insert, platform::Answers& answers) {
        DbConnection().Upsert(update, insert, answers);
    }
    void Upsert(const platform::Statement& update, const MakeStatement& insert) {
        Upsert(update, insert, unasked_);
    }
    void AwaitAnswers() {  // nothing is under way while there is no connection
        if (connection_) connection_->AwaitAnswers();
    }
    std::unique_ptr<platform::Recordset> OpenRecordset(
        const platform::Statement& statement, platform::CursorType cursor = platform::CursorType::ForwardOnly,
        platform::LockType lock = platform::LockType::ReadOnly);

    // Of the connection; see there.
    void Commit() { DbConnection().Commit(); }
    void RunAsUnit(const platform::Connection::Work& work) { DbConnection().RunAsUnit(work); }
    void RunExclusively(const platform::Connection::Work& work) { DbConnection().RunExclusively(work); }

    void UpdateStatistics(std::string_view table);  // raises nothing: statistics are a help, not a result

private:
    platform::DatabaseProvider& provider_;
    SqlLiterals literals_;
    platform::Answers unasked_;
    std::unique_ptr<platform::Connection> connection_;
    std::string currentDatabase_;
};

}  // namespace iqrx::runtime
