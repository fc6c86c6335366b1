// The port's connection, with what it shares with its recordsets.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/postgres/idle_session.h"
#include "platform/postgres/statements.h"

namespace iqrx::platform::postgres {

class PostgresConnection final : public Statements {
public:
    // Where there is an idle session, it is used, and what is closed is left there.
    PostgresConnection(TableNames controlTables, std::shared_ptr<IdleSession> idle)
        : controlTables_(std::move(controlTables)), idle_(std::move(idle)) {}
    ~PostgresConnection() override;

    void SetConnectionTimeout(int seconds) override { connectionTimeout_ = seconds; }
    void SetCommandTimeout(int seconds) override;
    void Open(const std::string& connectionString) override;
    void Close() override;
    std::int32_t Execute(const platform::Statement& statement) override;
    std::string DefaultDatabase() override;
    void SetDefaultDatabase(const std::string& name) override;
    void Commit() override;
    std::unique_ptr<Recordset> CreateRecordset() override;

    // For the server, so far.
    std::size_t Waits() const { return session_ ? session_->Waits() : 0; }

    struct Selected {
        Answer rows;
        std::vector<std::string> tables;
        bool touchesControlTable = false;
        std::string cursor = {};  // that has them all, of which `rows` are the first; empty: there are no more
    };
    Selected Select(const platform::Statement& statement);
    Answer NextRows(const std::string& cursor);
    // All of them; the next ones stay those after the first `read`.
    std::int64_t CountRows(const std::string& cursor, std::int64_t read);
    void Rewind(const std::string& cursor);
    void Forget(const std::string& cursor);

    // A row that somebody adds goes with the next ones, at the latest with the next statement.
    void Add(const Prepared& insert, const Parameters& row, bool touchesControlTable);
    std::int64_t Write(const Prepared& statement, const Parameters& parameters, bool touchesControlTable);

private:
    std::int64_t Run(const dialect::Found& found);
    std::int64_t RunBatch(const dialect::Found& found);
    std::int64_t RunSteps(const dialect::Found& found, std::size_t set);
    std::optional<std::int64_t> RunBatchAsRows(const dialect::Found& found);
    bool AskForAll(const Prepared& statement, std::deque<Arrays>& trips);
    std::shared_ptr<PreparedUpsert> UpsertOfBlock(Program& program, const dialect::Step& update,
                                                  const dialect::Step& insert);
    void MoveTo(const std::string& schema);
    Answer FirstRows(const Program& program, const std::string& cursor);
    void Settle();

    const TableNames controlTables_;
    const std::shared_ptr<IdleSession> idle_;
    Settings settings_;
    int connectionTimeout_ = 0, commandTimeout_ = 0;
    std::uint64_t cursors_ = 0;  // so far
};

}  // namespace iqrx::platform::postgres
