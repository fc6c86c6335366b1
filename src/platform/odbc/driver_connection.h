// The driver manager's connection: the statements on it, what its calls say, and its transactions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/database.h"
#include "platform/odbc/driver.h"
#include "platform/odbc/errors.h"

namespace iqrx::platform::odbc {

class DriverConnection {
public:
    DriverConnection();  // raises when there is no driver manager; not open yet

    void RequireOpen() {
        if (!open_) Raise(kObjectClosed, "The connection is closed");
    }

    // A statement that waits as long as the command time-out says.
    Handle NewStatement();
    Result ExecuteText(const Handle& statement, std::string_view sql);
    Result PrepareText(const Handle& statement, std::string_view sql);
    // Reads the results of an execution that returned `result` to their end and closes them. The counts are
    // those of the results that have one, in their order.
    std::vector<std::int32_t> Counts(const Handle& statement, Result result);
    // The same of one statement, whose own count is the last: those of triggers and of assigning SELECTs come
    // before it.
    std::int32_t Finish(const Handle& statement, Result result);

    void Check(Result result, const Handle& handle);  // raises when the result is a failure
    // What the driver says about its last failure.
    [[noreturn]] void Raise(const Handle& handle) { throw TakeErrors(handle, errors); }
    [[noreturn]] void Raise(std::int32_t number, const std::string& description);

    std::string Catalog();
    void SetCatalog(const std::string& name);

    Errors errors;
    DriverTraits driver;

protected:
    void Connect(const std::string& connectionString);
    void Disconnect() noexcept;  // a transaction that is open is rolled back
    bool IsOpen() const { return open_; }

    // Between transactions the connection commits by itself, so that reading leaves none open.
    void BeginTransaction() { SetAutocommit(false, errors); }
    // Raises when it is not committed; then it is rolled back, and `said` holds the driver's words.
    void CommitTransaction(Errors& said);
    void RollBackTransaction() noexcept;

    // Makes the next transactions serializable and returns the level before. Raises where the driver does not.
    std::uint32_t RequireSerializable();
    void RestoreIsolation(std::uint32_t level) noexcept;

    int connectionTimeout_ = 0, commandTimeout_ = 0;

private:
    void SetAutocommit(bool on, Errors& said);
    Result ReadIsolation(std::uint32_t& level);
    Result SetIsolation(std::uint32_t level);
    RuntimeError TakeErrors(const Handle& handle, Errors& said) const;
    bool LinkIsGone() const;

    Handle environment_, connection_;
    bool open_ = false;
};

}  // namespace iqrx::platform::odbc
