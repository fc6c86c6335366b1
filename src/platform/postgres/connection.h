// The port's connection, with what it shares with its recordsets.
#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialect/programs.h"
#include "platform/postgres/idle_session.h"
#include "platform/postgres/sender.h"

namespace iqrx::platform::postgres {

struct Program : dialect::Program {
    std::vector<std::shared_ptr<const Prepared>> statements;  // of the translation, in its order; null: new
    std::string select;      // the whole of one, whose statement asks for its first rows
    int sentAsItStands = 0;  // how often, before the server was told to keep it
};

class PostgresConnection final : public Sender {
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
    void Send(const platform::Statement& statement, platform::Answers& answers) override;
    void Upsert(const platform::Statement& update, const MakeStatement& insert,
                platform::Answers& answers) override;
    void AwaitAnswers() override;
    std::string DefaultDatabase() override;
    void SetDefaultDatabase(const std::string& name) override;
    void Commit() override;
    void RunExclusively(const Work& work) override;
    std::unique_ptr<Recordset> CreateRecordset() override;

    // For the server, so far.
    std::size_t Waits() const { return session_ ? session_->Waits() : 0; }

    using Kept = std::shared_ptr<const Prepared>;
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
    Kept Prepare(const std::string& sql);
    const std::vector<std::string>& KeyOf(const std::string& table);  // the columns of its primary key

private:
    dialect::Found Find(const platform::Statement& statement);
    static bool IsReady(const dialect::Found& found);
    static bool IsKnown(const Program& program);
    void MakeReady(const dialect::Found& found);
    // Those that are not; with them asks for the key of a table, if it is named.
    void PrepareAll(std::initializer_list<Program*> programs, const std::string& table = "");
    std::int64_t Run(const dialect::Found& found);
    std::int64_t RunBatch(const dialect::Found& found);
    std::int64_t RunSteps(const dialect::Found& found, std::size_t set);
    std::optional<std::int64_t> RunBatchAsRows(const dialect::Found& found);
    bool AskForAll(const Prepared& statement, std::deque<Arrays>& trips);
    std::shared_ptr<PreparedUpsert> UpsertOfBlock(Program& program, const dialect::Step& update,
                                                  const dialect::Step& insert);
    void Bind(const dialect::Found& found, std::size_t set, const dialect::Step& step);
    void MoveTo(const std::string& schema);
    void ForgetTables();
    bool CanSend() const;
    bool Ready(platform::Answers& answers, const std::function<bool()>& bind);
    Load LoadOf(Awaited write, Kept statement, bool touchesControlTable);
    std::shared_ptr<Program> Sendable(const platform::Statement& statement);
    void BindTo(const Program& program, const platform::Statement& statement);
    std::shared_ptr<Program> Bound(const platform::Statement& statement);
    std::shared_ptr<PreparedUpsert> BoundUpsert(const platform::Statement& update,
                                                const platform::Statement& insert);
    static std::shared_ptr<PreparedUpsert> AsItStands(const dialect::Translation& update,
                                                      const dialect::Translation& insert);
    std::shared_ptr<PreparedUpsert> PrepareUpsert(const Kept& first, const Kept& second,
                                                  const dialect::Translation& update,
                                                  const dialect::Translation& insert);
    Answer FirstRows(const Program& program, const std::string& cursor);
    bool HoldsKeyOf(const std::string& table, const std::vector<Column>& columns);
    bool PrepareBoth(PreparedUpsert& upsert, const Session::Source& one, const std::string& many);
    void Settle();

    const TableNames controlTables_;
    const std::shared_ptr<IdleSession> idle_;
    Settings settings_;
    int connectionTimeout_ = 0, commandTimeout_ = 0;
    std::optional<dialect::Programs> programs_;
    std::map<std::string, std::vector<std::string>> keys_;               // by table
    std::map<std::string, std::shared_ptr<const Prepared>> recordsets_;  // their statements, by text
    Upserts upserts_;
    std::uint64_t cursors_ = 0;  // so far
};

}  // namespace iqrx::platform::postgres
