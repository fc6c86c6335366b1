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

namespace iqrx::platform::postgres {

struct Program : dialect::Program {
    std::vector<std::shared_ptr<const Prepared>> statements;  // of the translation, in its order
};

class PostgresConnection final : public Connection {
public:
    explicit PostgresConnection(TableNames controlTables) : controlTables_(std::move(controlTables)) {}
    ~PostgresConnection() override { Close(); }

    void SetConnectionTimeout(int seconds) override { connectionTimeout_ = seconds; }
    void SetCommandTimeout(int seconds) override;
    void Open(const std::string& connectionString) override;
    void Close() override;
    std::int32_t Execute(const platform::Statement& statement) override;
    std::string DefaultDatabase() override;
    void SetDefaultDatabase(const std::string& name) override;
    Errors& LastErrors() override { return errors_; }
    void Commit() override;
    void RunAsUnit(const Work& work) override;
    void RunExclusively(const Work& work) override;
    std::unique_ptr<Recordset> CreateRecordset() override;

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

    struct Selected {
        Answer rows;
        std::vector<std::string> tables;
        bool touchesControlTable = false;
    };
    Selected Select(const platform::Statement& statement);

    // A row that somebody adds goes with the next ones, at the latest with the next statement.
    void Add(const Prepared& insert, const Parameters& row, bool touchesControlTable);
    void SendPending();
    std::int64_t Write(const Prepared& statement, const Parameters& parameters, bool touchesControlTable);
    std::shared_ptr<const Prepared> Prepare(const std::string& sql);
    const std::vector<std::string>& KeyOf(const std::string& table);  // the columns of its primary key

private:
    // What the statements stand in. A unit begins with its first write.
    enum class Frame { None, UnitAhead, Unit, Exclusive };

    Session& Opened();
    std::int64_t Run(const dialect::Found& found);
    std::int64_t RunBatch(const dialect::Found& found);
    std::int64_t RunSteps(const dialect::Found& found, std::size_t set);
    void Bind(const dialect::Found& found, std::size_t set, const dialect::Step& step);
    void MoveTo(const std::string& schema);
    void ForgetTables();
    void BeginWrite(bool touchesControlTable);
    void EndWrite(bool touchesControlTable);
    void CommitTransaction();
    void Settle();
    void RollBack() noexcept;

    const TableNames controlTables_;
    Errors errors_;
    int connectionTimeout_ = 0, commandTimeout_ = 0;
    std::unique_ptr<Session> session_;
    std::optional<dialect::Programs> programs_;
    std::map<std::string, std::vector<std::string>> keys_;               // by table
    std::map<std::string, std::shared_ptr<const Prepared>> recordsets_;  // their statements, by text
    Parameters parameters_;
    Frame frame_ = Frame::None;
    bool waitsForDisk_ = false;  // the open transaction, when it is committed
    bool isAhead_ = false;       // of the disk: something was committed that need not be there yet
};

}  // namespace iqrx::platform::postgres
