// One connection of the driver manager with what the port's connection and its recordsets share: the way that
// every call goes, the write group, units and exclusive sections.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/odbc/dependents.h"
#include "platform/odbc/driver_connection.h"
#include "platform/write_group.h"

namespace iqrx::platform::odbc {

class Session : public DriverConnection {
public:
    explicit Session(TableNames controlTables) : controlTables_(std::move(controlTables)) {}
    ~Session();

    // Does one call's work; the members below belong inside of it. When it fails, what was written before is
    // committed.
    template <class Work>
    auto Call(Work work) {
        const auto turn = Turn();
        return InTurn(work);
    }
    // The two parts of it, for calls that have something to do whatever happens: that belongs between them.
    std::unique_lock<std::mutex> Turn() { return group_ ? group_->Lock() : std::unique_lock<std::mutex>(); }
    template <class Work>
    auto InTurn(Work work) {
        try {
            if (group_) group_->RaiseLoss();
            return work();
        } catch (const RuntimeError& error) {
            Fail(error);
            throw;
        }
    }

    // The port's Commit, RunAsUnit and RunExclusively; each makes its own calls.
    void Settle();
    void RunAsUnit(const Connection::Work& work);
    void RunExclusively(const Connection::Work& work);

    void Open(const std::string& connectionString);
    void Close() noexcept;
    void SetCommandTimeout(int seconds);

    std::int32_t Execute(std::string_view sql);

    template <class Write>
    void InGroup(std::string_view table, Write write) {
        if (!group_ || frame_ == Frame::Exclusive) return write();
        group_->BeforeWrite();
        BeginUnit();
        write();
        AfterWrite(table);
    }

    Dependents recordsets;
    std::map<std::string, std::vector<std::string>> keys;  // columns of the primary key by table

private:
    // What the statements stand in. A unit begins with its first write.
    enum class Frame { None, UnitAhead, Unit, Exclusive };

    std::int32_t Run(std::string_view sql);
    void NameThePlace(RuntimeError& error, std::string_view sql);
    std::int32_t RunBatch(std::string_view sql);
    int Milliseconds(const std::string& interval);
    void StartGroup(int milliseconds);
    void BeginUnit();
    void EndUnit();
    void AbandonUnit();
    void TryExclusively(const Connection::Work& work);
    void AfterWrite(std::string_view table);
    void Fail(const RuntimeError& error);
    void AbandonGroup(const RuntimeError& cause);
    Errors SaidOf(const RuntimeError& error) const;

    const TableNames controlTables_;
    Handle shared_;
    std::unique_ptr<WriteGroup> group_;
    Frame frame_ = Frame::None;
    Errors loss_;  // what the driver said when writes of the group were lost
};

std::unique_ptr<Recordset> CreateRecordset(Session& session);

}  // namespace iqrx::platform::odbc
