// One connection of the driver manager with what the port's connection and its recordsets share: the way that
// every call goes, the write group, the errors.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/database.h"
#include "platform/odbc/dependents.h"
#include "platform/odbc/driver.h"
#include "platform/odbc/errors.h"
#include "platform/write_group.h"

namespace iqrx::platform::odbc {

class Session {
public:
    Session();
    ~Session();

    // Does one call's work; the members below belong inside of it. When it fails, what was written before is
    // committed.
    template <class Work>
    auto Call(Work work) {
        const auto turn = group_ ? group_->Lock() : std::unique_lock<std::mutex>();
        try {
            if (group_) group_->RaiseLoss();
            return work();
        } catch (const RuntimeError& error) {
            Fail(error);
            throw;
        }
    }

    void Open(const std::string& connectionString);
    void Close() noexcept;
    void RequireOpen();
    void SetCommandTimeout(int seconds);

    std::int32_t Execute(std::string_view sql);
    void Settle();

    // A statement that waits as long as the command time-out says.
    Handle NewStatement();
    Result ExecuteText(const Handle& statement, std::string_view sql);
    Result PrepareText(const Handle& statement, std::string_view sql);
    // Reads the results of an execution that returned `result` to their end and closes them. The count is
    // that of the last result that has one: counts of triggers and of assigning SELECTs come before a
    // statement's own.
    std::int32_t Finish(const Handle& statement, Result result);

    template <class Write>
    void InGroup(std::string_view table, Write write) {
        if (group_) group_->BeforeWrite();
        write();
        AfterWrite(table);
    }

    void Check(Result result, const Handle& handle);  // raises when the result is a failure
    [[noreturn]] void Raise(const Handle& handle);    // what the driver says about its last failure
    [[noreturn]] void Raise(std::int32_t number, const std::string& description);

    std::string Catalog();
    void SetCatalog(const std::string& name);

    Errors errors;
    int connectionTimeout = 0;
    DriverTraits driver;
    Dependents recordsets;
    std::map<std::string, std::vector<std::string>> keys;  // columns of the primary key by table

private:
    std::int32_t Run(std::string_view sql);
    int Milliseconds(const std::string& interval);
    void StartGroup(int milliseconds);
    void SetAutocommit(bool on);
    void CommitGroup();
    void AfterWrite(std::string_view table);
    void Fail(const RuntimeError& error);
    Link LinkState() const;

    Handle environment_, connection_, shared_;
    std::unique_ptr<WriteGroup> group_;
    int commandTimeout_ = 0;
    bool open_ = false;
};

}  // namespace iqrx::platform::odbc
