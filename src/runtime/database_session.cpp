#include "runtime/database_session.h"

#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::runtime {

namespace {
constexpr Sql<0> kStatistics = "UPDATE STATISTICS {table}";
}  // namespace

void DatabaseSession::OpenDatabase(const std::string& connectionString, const std::string& localDatabase,
                                   platform::Integer platform) {
    currentDatabase_.clear();
    literals_.Speak(DialectOf(platform));
    connection_ = provider_.CreateConnection(connectionString);
    connection_->SetConnectionTimeout(0);
    connection_->SetCommandTimeout(0);
    connection_->Open(connectionString);
    Speaks().beginSession(*connection_, localDatabase);
    currentDatabase_ = Speaks().currentDatabase(*connection_, localDatabase);
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

std::unique_ptr<platform::Recordset> DatabaseSession::OpenRecordset(const platform::Statement& statement,
                                                                    platform::CursorType cursor,
                                                                    platform::LockType lock) {
    auto recordset = DbConnection().CreateRecordset();
    recordset->Open(statement, cursor, lock);
    return recordset;
}

void DatabaseSession::UpdateStatistics(std::string_view table) {
    try {
        Execute(kStatistics.On(platform::Trim(table, " ")));
    } catch (const std::exception&) {
        // See the header.
    }
}

}  // namespace iqrx::runtime
