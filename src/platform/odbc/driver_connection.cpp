#include "platform/odbc/driver_connection.h"

#include <sql.h>
#include <sqlext.h>

#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

SQLWCHAR* Native(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

SQLCHAR* Narrow(std::string_view text) {
    return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.data()));  // the driver reads it only
}

bool Works(Result result) { return SQL_SUCCEEDED(result) || result == SQL_NO_DATA; }

}  // namespace

DriverConnection::DriverConnection() : environment_(HandleKind::Environment, nullptr) {
    if (!environment_) Raise(kDatabaseError, "The ODBC driver manager can't be used");
    SQLSetEnvAttr(environment_.Get(), SQL_ATTR_ODBC_VERSION, Number(SQL_OV_ODBC3), 0);
}

void DriverConnection::Connect(const std::string& connectionString) {
    if (open_) Raise(kObjectOpen, "The connection is open already");
    std::u16string text = ToUtf16(connectionString);
    connection_ = Handle(HandleKind::Connection, environment_.Get());
    if (!connection_) Raise(environment_);
    // A driver that has no such limit, or none that can be set, may refuse both.
    SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_LOGIN_TIMEOUT, Number(connectionTimeout_), 0);
    SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_CONNECTION_TIMEOUT, Number(connectionTimeout_), 0);
    SQLSMALLINT length = 0;
    Check(SQLDriverConnectW(connection_.Get(), nullptr, Native(text), static_cast<SQLSMALLINT>(text.size()),
                            nullptr, 0, &length, SQL_DRIVER_NOPROMPT),
          connection_);
    open_ = true;
    driver = ReadDriverTraits(connection_);
}

void DriverConnection::Disconnect() noexcept {
    open_ = false;
    // A connection on which a transaction is open does not disconnect.
    SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
    SQLDisconnect(connection_.Get());
    connection_ = Handle();
}

Handle DriverConnection::NewStatement() {
    RequireOpen();
    Handle statement(HandleKind::Statement, connection_.Get());
    if (!statement) Raise(connection_);
    // Drivers that know no limit may refuse it. Texts go to the server as they stand, braces included.
    SQLSetStmtAttrW(statement.Get(), SQL_ATTR_QUERY_TIMEOUT, Number(commandTimeout_), 0);
    SQLSetStmtAttrW(statement.Get(), SQL_ATTR_NOSCAN, Number(SQL_NOSCAN_ON), 0);
    return statement;
}

Result DriverConnection::ExecuteText(const Handle& statement, std::string_view sql) {
    if (!driver.wide) return SQLExecDirect(statement.Get(), Narrow(sql), static_cast<SQLINTEGER>(sql.size()));
    std::u16string text = ToUtf16(sql);
    return SQLExecDirectW(statement.Get(), Native(text), static_cast<SQLINTEGER>(text.size()));
}

Result DriverConnection::PrepareText(const Handle& statement, std::string_view sql) {
    if (!driver.wide) return SQLPrepare(statement.Get(), Narrow(sql), static_cast<SQLINTEGER>(sql.size()));
    std::u16string text = ToUtf16(sql);
    return SQLPrepareW(statement.Get(), Native(text), static_cast<SQLINTEGER>(text.size()));
}

std::int32_t DriverConnection::Finish(const Handle& statement, Result result) {
    const auto counts = Counts(statement, result);
    return counts.empty() ? 0 : counts.back();
}

std::vector<std::int32_t> DriverConnection::Counts(const Handle& statement, Result result) {
    std::vector<std::int32_t> counts;
    // "No data" is the result of an execution whose first statement affected no row; later it is the end.
    if (result == SQL_NO_DATA) {
        counts.push_back(0);
        result = SQLMoreResults(statement.Get());
    }
    while (result != SQL_NO_DATA) {
        if (!Works(result)) {
            const RuntimeError error = TakeErrors(statement, errors);
            // A server may go on after a failed statement; to close the results now would cancel the rest.
            while (SQL_SUCCEEDED(SQLMoreResults(statement.Get()))) continue;
            SQLFreeStmt(statement.Get(), SQL_CLOSE);
            throw error;
        }
        SQLSMALLINT columns = 0;
        SQLLEN rows = -1;
        if (SQL_SUCCEEDED(SQLNumResultCols(statement.Get(), &columns)) && columns == 0 &&
            SQL_SUCCEEDED(SQLRowCount(statement.Get(), &rows)) && rows >= 0)
            counts.push_back(static_cast<std::int32_t>(rows));
        result = SQLMoreResults(statement.Get());
    }
    SQLFreeStmt(statement.Get(), SQL_CLOSE);
    return counts;
}

void DriverConnection::Check(Result result, const Handle& handle) {
    if (!Works(result)) Raise(handle);
}

void DriverConnection::Raise(std::int32_t number, const std::string& description) {
    errors = {{number, driver.source, description, "HY000"}};
    throw RuntimeError(number, driver.source, description);
}

RuntimeError DriverConnection::TakeErrors(const Handle& handle, Errors& said) const {
    said = ReadDiagnostics(handle, driver);
    if (open_ && (LinkIsGone() || SpeakOfLostConnection(said))) NameLostLink(said, driver);
    const ErrorEntry& first = said.front();
    return {first.number, first.source, first.description};
}

bool DriverConnection::LinkIsGone() const {
    SQLUINTEGER dead = SQL_CD_FALSE;
    const auto result =
        SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead, nullptr);
    return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

std::string DriverConnection::Catalog() {
    std::u16string name(256, u'\0');
    SQLINTEGER bytes = 0;
    Check(SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_CURRENT_CATALOG, name.data(),
                             static_cast<SQLINTEGER>(name.size() * sizeof(char16_t)), &bytes),
          connection_);
    return ToUtf8(name.c_str());
}

void DriverConnection::SetCatalog(const std::string& name) {
    std::u16string text = ToUtf16(name);
    Check(SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_CURRENT_CATALOG, Native(text),
                             static_cast<SQLINTEGER>(text.size() * sizeof(char16_t))),
          connection_);
}

void DriverConnection::CommitTransaction(Errors& said) {
    if (!Works(SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_COMMIT))) {
        const RuntimeError error = TakeErrors(connection_, said);
        RollBackTransaction();
        throw error;
    }
    SetAutocommit(true, said);
}

void DriverConnection::RollBackTransaction() noexcept {
    SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
    SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_ON), 0);
}

void DriverConnection::SetAutocommit(bool on, Errors& said) {
    const auto result = SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_AUTOCOMMIT,
                                           Number(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0);
    if (!Works(result)) throw TakeErrors(connection_, said);
}

// Asked again after it was set: a driver may take a level and stay at its own.
std::uint32_t DriverConnection::RequireSerializable() {
    std::uint32_t before = 0, now = 0;
    Result result = ReadIsolation(before);
    if (Works(result) && before != SQL_TXN_SERIALIZABLE) result = SetIsolation(SQL_TXN_SERIALIZABLE);
    if (Works(result)) result = ReadIsolation(now);
    if (Works(result) && now == SQL_TXN_SERIALIZABLE) return before;
    const std::string why =
        "The driver refuses serializable transactions, without which a table can't be locked";
    if (Works(result)) Raise(kDatabaseError, why);
    RuntimeError error = TakeErrors(connection_, errors);
    if (!EndATransaction(errors))
        error.description = errors.front().description = why + ": " + error.description;
    throw error;
}

// Where it fails, later statements are kept apart from others' more than they need.
void DriverConnection::RestoreIsolation(std::uint32_t level) noexcept {
    if (level != SQL_TXN_SERIALIZABLE) SetIsolation(level);
}

Result DriverConnection::ReadIsolation(std::uint32_t& level) {
    SQLULEN wide = 0;  // some drivers fill more than the 32 bits that they should
    const auto result =
        SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_TXN_ISOLATION, &wide, sizeof wide, nullptr);
    level = static_cast<std::uint32_t>(wide);
    return result;
}

Result DriverConnection::SetIsolation(std::uint32_t level) {
    return SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_TXN_ISOLATION, Number(level), 0);
}

}  // namespace iqrx::platform::odbc
