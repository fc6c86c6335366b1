// The port's connection, with what it shares with its recordsets: the way that every call goes, and what the
// statements stand in.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/database_failure.h"
#include "platform/dialect/programs.h"
#include "platform/postgres/session.h"
#include "platform/postgres/trips.h"
#include "platform/postgres/upserts.h"

namespace iqrx::platform::postgres {

inline constexpr const char* kBegin = "BEGIN ISOLATION LEVEL READ COMMITTED";
// Of the transaction that it stands in: its commit returns when it, and everything before it, is on the disk.
inline constexpr const char* kWaitForDisk = "SELECT set_config('synchronous_commit','on',true)";

struct Program : dialect::Program {
    std::vector<std::shared_ptr<const Prepared>> statements;  // of the translation, in its order
};

class PostgresConnection final : public Connection {
public:
    explicit PostgresConnection(TableNames controlTables) : controlTables_(std::move(controlTables)) {}
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
    Errors& LastErrors() override { return errors_; }
    void Commit() override;
    void RunAsUnit(const Work& work) override;
    void RunExclusively(const Work& work) override;
    std::unique_ptr<Recordset> CreateRecordset() override;

    // For the server, so far.
    std::size_t Waits() const { return session_ ? session_->Waits() : 0; }

    // Does one call's work; what fails is entered in the Errors. The members below belong inside of it.
    template <class Action>
    auto Call(Action work) {
        try {
            return work();
        } catch (...) {
            errors_ = {EntryOf(std::current_exception())};
            throw;
        }
    }

    using Kept = std::shared_ptr<const Prepared>;
    struct Selected {
        Answer rows;
        std::vector<std::string> tables;
        bool touchesControlTable = false;
    };
    Selected Select(const platform::Statement& statement);

    // A row that somebody adds goes with the next ones, at the latest with the next statement.
    void Add(const Prepared& insert, const Parameters& row, bool touchesControlTable);
    void SendRows();     // those that were added
    void SendPending();  // and whatever else nobody has waited for
    std::int64_t Write(const Prepared& statement, const Parameters& parameters, bool touchesControlTable);
    Kept Prepare(const std::string& sql);
    const std::vector<std::string>& KeyOf(const std::string& table);  // the columns of its primary key

private:
    // What the statements stand in. A unit begins with its first write; one that has fallen takes no more.
    enum class Frame { None, UnitAhead, Unit, Fallen, Exclusive };
    struct UnderWay {};  // thrown by who can't go on before all answers are there

    Session& Opened();
    dialect::Found Find(const platform::Statement& statement);
    std::int64_t Run(const dialect::Found& found);
    std::int64_t RunBatch(const dialect::Found& found);
    std::int64_t RunSteps(const dialect::Found& found, std::size_t set);
    void Bind(const dialect::Found& found, std::size_t set, const dialect::Step& step);
    void MoveTo(const std::string& schema);
    void ForgetTables();
    bool CanSend() const;
    Kept Readied(platform::Answers& answers, const std::function<Kept()>& ready);
    Kept Bound(const platform::Statement& statement);
    Kept BoundUpsert(const platform::Statement& update, const platform::Statement& insert);
    void Add(Entry entry, const Prepared& statement, platform::Answers& answers);
    void SendTrip();
    void CloseTrip();
    void EndTrip();
    Answer Ask(const std::function<void()>& queue);
    Answer Only(std::vector<Answer>& own);
    void Tell();
    void Fall();
    void OrGiveUp(const std::function<void()>& action);
    void DoAgain();
    void DoAgain(Entry& entry);
    void RaiseFirstFailure(Entries& entries);
    void RaiseOwed();
    void RequireStanding() const;
    bool HasRows() const;
    void EndUnit(bool isWaitedFor);
    void BeginWrite(bool touchesControlTable);
    void EndWrite(bool touchesControlTable);
    void CommitTransaction();
    void Settle();
    void RollBack() noexcept;
    void EndTransaction() noexcept;

    const TableNames controlTables_;
    Errors errors_;
    int connectionTimeout_ = 0, commandTimeout_ = 0;
    std::unique_ptr<Session> session_;
    std::optional<dialect::Programs> programs_;
    std::map<std::string, std::vector<std::string>> keys_;               // by table
    std::map<std::string, std::shared_ptr<const Prepared>> recordsets_;  // their statements, by text
    Parameters parameters_;
    Frame frame_ = Frame::None;
    Upserts upserts_;
    Trips trips_;
    std::size_t rowsPerTrip_ = 1, added_ = 0;  // added: since something went on its way
    std::exception_ptr owed_;                  // an earlier failure, to the next call
    bool isOfEarlier_ = false;                 // what was raised last: a failure of what was under way
    bool waitsForDisk_ = false;                // the open transaction, when it is committed
    bool isAhead_ = false;  // of the disk: something was committed that need not be there yet
};

}  // namespace iqrx::platform::postgres
