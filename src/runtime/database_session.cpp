#include "runtime/database_session.h"

#include "platform/error.h"
#include "runtime/trim.h"

namespace iqrx::runtime {

DatabaseSession::DatabaseSession(platform::Machine& machine, platform::DatabaseProvider& provider)
    : provider_(provider), literals_(machine, kSqlServer) {}

void DatabaseSession::OpenDatabase(const std::string& connectionString, const std::string& localDatabase) {
    currentDatabase_.clear();
    connection_ = provider_.CreateConnection(connectionString);
    connection_->SetConnectionTimeout(0);
    connection_->SetCommandTimeout(0);
    connection_->Open(connectionString);
    if (Platform() == kSqlServer) {
        connection_->Execute("SET DATEFORMAT YMD");
        if (!localDatabase.empty()) connection_->SetDefaultDatabase(localDatabase);
        currentDatabase_ = connection_->DefaultDatabase();
    } else if (Platform() == kOracle) {
        if (!localDatabase.empty())
            connection_->Execute("Alter session set current_schema= " + localDatabase);
        currentDatabase_ = localDatabase;
    }
}

void DatabaseSession::CloseDatabase() {
    try {
        if (connection_) connection_->Close();
    } catch (const std::exception&) {
        // What was reported done was committed before, or its loss told.
    }
    connection_.reset();
}

platform::Connection& DatabaseSession::DbConnection() {
    if (!connection_) platform::RaiseRuntimeError(platform::kObjectNotSet);
    return *connection_;
}

platform::Errors* DatabaseSession::LastErrors() { return connection_ ? &connection_->LastErrors() : nullptr; }

std::unique_ptr<platform::Recordset> DatabaseSession::OpenRecordset(std::string_view sql,
                                                                    platform::CursorType cursor,
                                                                    platform::LockType lock) {
    auto recordset = DbConnection().CreateRecordset();
    recordset->Open(sql, cursor, lock);
    return recordset;
}

void DatabaseSession::UpdateStatistics(std::string_view table) {
    try {
        Execute("UPDATE STATISTICS " + std::string(Trim(table)));
    } catch (const std::exception&) {
        // See the header.
    }
}

}  // namespace iqrx::runtime
