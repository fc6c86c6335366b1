// The port's connection over one of the driver manager, with what it shares with its recordsets: the way that
// every call goes, the write group, units and exclusive sections.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/odbc/dependents.h"
#include "platform/odbc/driver_connection.h"
#include "platform/odbc/upserts.h"
#include "platform/write_group.h"

namespace iqrx::platform::odbc {

class OdbcConnection final : public Connection, public DriverConnection {
public:
    explicit OdbcConnection(TableNames controlTables) : controlTables_(std::move(controlTables)) {}
    ~OdbcConnection() override;

    void SetConnectionTimeout(int seconds) override { connectionTimeout_ = seconds; }
    void SetCommandTimeout(int seconds) override;
    void Open(const std::string& connectionString) override;
    void Close() noexcept override;
    std::int32_t Execute(const Statement& statement) override;
    void Send(const Statement& statement, Answers& answers) override;
    void Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) override;
    void AwaitAnswers() override { upserts_.Send(); }
    std::string DefaultDatabase() override;
    void SetDefaultDatabase(const std::string& name) override;
    Errors& LastErrors() override { return errors; }
    void Commit() override;
    void RunAsUnit(const Work& work) override;
    void RunExclusively(const Work& work) override;
    std::unique_ptr<Recordset> CreateRecordset() override;

    // Does the work of one of the members above or of a recordset's; the members below belong inside of it.
    // What was collected goes first. When it fails, what was written before is committed.
    template <class Action>
    auto Call(Action work) {
        AwaitAnswers();
        const auto turn = Turn();
        return InTurn(work);
    }
    // The two parts of it, for calls that have something to do whatever happens: that belongs between them.
    std::unique_lock<std::mutex> Turn() { return group_ ? group_->Lock() : std::unique_lock<std::mutex>(); }
    template <class Action>
    auto InTurn(Action work) {
        try {
            if (group_) group_->RaiseLoss();
            return work();
        } catch (const RuntimeError& error) {
            Fail(error);
            throw;
        }
    }

    void InTransaction(const Work& work);  // of its own; the open group ends before it
    template <class Write>
    std::int32_t InGroup(std::string_view table, Write write) {  // the rows affected
        if (!group_ || frame_ == Frame::Exclusive) return write();
        group_->BeforeWrite();
        BeginUnit();
        const std::int32_t affected = write();
        AfterWrite(table);
        return affected;
    }

    Dependents recordsets;
    std::map<std::string, std::vector<std::string>> keys;  // columns of the primary key by table

private:
    // What the statements stand in. A unit begins with its first write.
    enum class Frame { None, UnitAhead, Unit, Exclusive };

    std::int32_t Execute(std::string_view sql);
    std::int32_t Run(std::string_view sql);
    bool Collect(const Statement& update, const MakeStatement& insert, Answers& answers);
    void BeginUnit();
    void EndUnit();
    void AbandonUnit();
    void TryExclusively(const Work& work);
    void AfterWrite(std::string_view table);
    void Fail(const RuntimeError& error);
    void AbandonGroup(const RuntimeError& cause);
    Errors SaidOf(const RuntimeError& error) const;

    const TableNames controlTables_;
    Handle shared_;
    std::unique_ptr<WriteGroup> group_;
    Frame frame_ = Frame::None;
    Upserts upserts_{*this};
    Errors loss_;          // what the driver said when writes of the group were lost
    std::string catalog_;  // the name that was set, where the driver has no catalogs
};

}  // namespace iqrx::platform::odbc
