// The embedded database's connection.
#pragma once

#include <memory>
#include <string>

#include "platform/sqlite/session.h"

namespace iqrx::platform::sqlite {

class SqliteConnection : public Connection {
public:
    SqliteConnection(TableNames controlTables, WaitListener listener)
        : controlTables_(std::move(controlTables)), listener_(std::move(listener)) {}
    ~SqliteConnection() override { Close(); }

    // A time-out bounds the wait for other processes' locks.
    void SetConnectionTimeout(int) override {}
    void SetCommandTimeout(int seconds) override;
    void Open(const std::string& connectionString) override;
    void Close() override;
    std::int32_t Execute(const platform::Statement& statement) override;
    std::string DefaultDatabase() override { return defaultDatabase_; }
    // There is one database in a file; sites' names for it are taken as they are.
    void SetDefaultDatabase(const std::string& name) override { defaultDatabase_ = name; }
    Errors& LastErrors() override { return errors_; }
    void Commit() override { Opened().Settle(); }
    void RunAsUnit(const Work& work) override { Opened().RunAsUnit(work); }
    void RunExclusively(const Work& work) override { Opened().RunExclusively(work); }
    std::unique_ptr<Recordset> CreateRecordset() override;

    Session& Opened();  // raises when the connection is closed
    // Held by who touches the connection's handle outside of a call; of a closed connection it holds nothing.
    [[nodiscard]] std::unique_lock<std::mutex> Turn() {
        return session_ ? session_->Turn() : std::unique_lock<std::mutex>();
    }

private:
    const TableNames controlTables_;
    const WaitListener listener_;
    Errors errors_;
    int commandTimeout_ = 0;
    std::string defaultDatabase_ = "main";
    std::unique_ptr<Session> session_;
};

}  // namespace iqrx::platform::sqlite
