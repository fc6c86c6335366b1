#include "platform/odbc/session.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/connection_string.h"
#include "platform/odbc/table.h"
#include "platform/odbc/utf16.h"

namespace iqrx::platform::odbc {

namespace {

SQLWCHAR* Native(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

SQLCHAR* Narrow(std::string_view text) {
    return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.data()));  // the driver reads it only
}

bool Works(Result result) { return SQL_SUCCEEDED(result) || result == SQL_NO_DATA; }

// Tables through which processes coordinate: what is written to them must be there for others at once.
bool IsControlTable(std::string_view table) {
    constexpr std::array kTables{"tstables", "tstreenodes", "tsi18ntext", "tsfullsyncs", "tsparameters"};
    return std::ranges::any_of(kTables, [&](const char* name) {
        return table.size() >= std::string_view(name).size() &&
               EqualIgnoringCase(table.substr(table.size() - std::string_view(name).size()), name);
    });
}

}  // namespace

Session::Session() : environment_(HandleKind::Environment, nullptr) {
    if (!environment_) Raise(kDatabaseError, "The ODBC driver manager can't be used");
    SQLSetEnvAttr(environment_.Get(), SQL_ATTR_ODBC_VERSION, Number(SQL_OV_ODBC3), 0);
}

Session::~Session() { Close(); }

void Session::Open(const std::string& connectionString) {
    if (open_) Raise(kObjectOpen, "The connection is open already");
    ConnectionString pairs(connectionString);
    const int interval = Milliseconds(pairs.Find("Commit Interval").value_or("0"));
    pairs.Remove("Commit Interval");
    std::u16string text = ToUtf16(pairs.Text());
    connection_ = Handle(HandleKind::Connection, environment_.Get());
    if (!connection_) Raise(environment_);
    // A driver that has no such limit, or none that can be set, may refuse both.
    SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_LOGIN_TIMEOUT, Number(connectionTimeout), 0);
    SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_CONNECTION_TIMEOUT, Number(connectionTimeout), 0);
    SQLSMALLINT length = 0;
    Check(SQLDriverConnectW(connection_.Get(), nullptr, Native(text), static_cast<SQLSMALLINT>(text.size()),
                            nullptr, 0, &length, SQL_DRIVER_NOPROMPT),
          connection_);
    open_ = true;
    driver = ReadDriverTraits(connection_);
    StartGroup(interval);
}

void Session::Close() noexcept {
    if (!open_) return;
    const auto group = std::move(group_);
    const auto turn = group ? group->Lock() : std::unique_lock<std::mutex>();
    recordsets.Release();
    shared_ = Handle();
    try {
        if (group) group->Commit();
    } catch (const RuntimeError&) {
        // What was not committed is lost with the connection.
    }
    open_ = false;
    // A connection on which a transaction is open does not disconnect.
    SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
    SQLDisconnect(connection_.Get());
    connection_ = Handle();
    keys.clear();
}

void Session::RequireOpen() {
    if (!open_) Raise(kObjectClosed, "The connection is closed");
}

void Session::SetCommandTimeout(int seconds) {
    if (seconds == commandTimeout_) return;
    commandTimeout_ = seconds;
    shared_ = Handle();  // made anew with the limit
}

Handle Session::NewStatement() {
    RequireOpen();
    Handle statement(HandleKind::Statement, connection_.Get());
    if (!statement) Raise(connection_);
    // Drivers that know no limit may refuse it. Texts go to the server as they stand, braces included.
    SQLSetStmtAttrW(statement.Get(), SQL_ATTR_QUERY_TIMEOUT, Number(commandTimeout_), 0);
    SQLSetStmtAttrW(statement.Get(), SQL_ATTR_NOSCAN, Number(SQL_NOSCAN_ON), 0);
    return statement;
}

Result Session::ExecuteText(const Handle& statement, std::string_view sql) {
    if (!driver.wide) return SQLExecDirect(statement.Get(), Narrow(sql), static_cast<SQLINTEGER>(sql.size()));
    std::u16string text = ToUtf16(sql);
    return SQLExecDirectW(statement.Get(), Native(text), static_cast<SQLINTEGER>(text.size()));
}

Result Session::PrepareText(const Handle& statement, std::string_view sql) {
    if (!driver.wide) return SQLPrepare(statement.Get(), Narrow(sql), static_cast<SQLINTEGER>(sql.size()));
    std::u16string text = ToUtf16(sql);
    return SQLPrepareW(statement.Get(), Native(text), static_cast<SQLINTEGER>(text.size()));
}

std::int32_t Session::Execute(std::string_view sql) {
    RequireOpen();
    recordsets.SendPending();
    if (!group_) return Run(sql);
    const auto change = ChangeOf(sql);
    std::int32_t affected = 0;
    if (change.kind == Change::Kind::Rows) {
        InGroup(change.table, [&] { affected = Run(sql); });
        return affected;
    }
    // Definitions, session settings and the like stand alone, as some of them have to.
    if (change.kind == Change::Kind::Other) group_->Commit();
    return Run(sql);
}

void Session::Settle() {
    if (!group_) return;
    const auto turn = group_->Lock();
    group_->Settle();
}

std::int32_t Session::Run(std::string_view sql) {
    if (!shared_) shared_ = NewStatement();
    return Finish(shared_, ExecuteText(shared_, sql));
}

std::int32_t Session::Finish(const Handle& statement, Result result) {
    std::int32_t affected = 0;
    // "No data" answers an execution that affected no row, or that counts none; later it is the end.
    if (result == SQL_NO_DATA) result = SQLMoreResults(statement.Get());
    while (result != SQL_NO_DATA) {
        if (!Works(result)) {
            const RuntimeError error = TakeDiagnostics(statement, driver, LinkState(), errors);
            // A server may go on behind a failed statement; to close the results now would cancel the rest.
            while (SQL_SUCCEEDED(SQLMoreResults(statement.Get()))) continue;
            SQLFreeStmt(statement.Get(), SQL_CLOSE);
            throw error;
        }
        SQLSMALLINT columns = 0;
        SQLLEN rows = -1;
        if (SQL_SUCCEEDED(SQLNumResultCols(statement.Get(), &columns)) && columns == 0 &&
            SQL_SUCCEEDED(SQLRowCount(statement.Get(), &rows)) && rows >= 0)
            affected = static_cast<std::int32_t>(rows);
        result = SQLMoreResults(statement.Get());
    }
    SQLFreeStmt(statement.Get(), SQL_CLOSE);
    return affected;
}

void Session::Check(Result result, const Handle& handle) {
    if (!Works(result)) Raise(handle);
}

void Session::Raise(const Handle& handle) { throw TakeDiagnostics(handle, driver, LinkState(), errors); }

void Session::Raise(std::int32_t number, const std::string& description) {
    errors = {{number, driver.source, description, "HY000"}};
    throw RuntimeError(number, driver.source, description);
}

Link Session::LinkState() const {
    if (!open_) return Link::NotYet;
    SQLUINTEGER dead = SQL_CD_FALSE;
    const auto result =
        SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead, nullptr);
    return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE ? Link::Gone : Link::Up;
}

std::string Session::Catalog() {
    std::u16string name(256, u'\0');
    SQLINTEGER bytes = 0;
    Check(SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_CURRENT_CATALOG, name.data(),
                             static_cast<SQLINTEGER>(name.size() * sizeof(char16_t)), &bytes),
          connection_);
    return ToUtf8(name.c_str());
}

void Session::SetCatalog(const std::string& name) {
    std::u16string text = ToUtf16(name);
    Check(SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_CURRENT_CATALOG, Native(text),
                             static_cast<SQLINTEGER>(text.size() * sizeof(char16_t))),
          connection_);
}

int Session::Milliseconds(const std::string& interval) {
    int milliseconds = 0;
    const char* const behind = interval.data() + interval.size();
    const auto [end, failure] = std::from_chars(interval.data(), behind, milliseconds);
    if (failure != std::errc() || end != behind || milliseconds < 0)
        Raise(kInvalidProcedureCall, "Commit Interval is a number of milliseconds, not \"" + interval + "\"");
    return milliseconds;
}

void Session::StartGroup(int milliseconds) {
    if (milliseconds == 0) return;
    WriteGroupLimits limits;
    limits.time = std::chrono::milliseconds(milliseconds);
    group_ = std::make_unique<WriteGroup>([this] { SetAutocommit(false); }, [this] { CommitGroup(); }, limits);
}

void Session::SetAutocommit(bool on) {
    Check(SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_AUTOCOMMIT,
                             Number(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), 0),
          connection_);
}

// Between groups the connection commits by itself, so that reading leaves no transaction behind.
void Session::CommitGroup() {
    const Result result = SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_COMMIT);
    if (!Works(result)) {
        const RuntimeError error = TakeDiagnostics(connection_, driver, LinkState(), errors);
        SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
        SQLSetConnectAttrW(connection_.Get(), SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_ON), 0);
        throw error;
    }
    SetAutocommit(true);
}

void Session::AfterWrite(std::string_view table) {
    if (!group_) return;
    if (IsControlTable(table))
        group_->Commit();
    else
        group_->AfterWrite();
}

void Session::Fail(const RuntimeError& error) {
    // A value that does not convert, or what the timer found: not the driver's words.
    if (errors.empty() || errors.front().description != error.description)
        errors = {{error.number, error.source, error.description, "HY000"}};
    Errors first = errors;
    try {
        if (group_) group_->Commit();
    } catch (const RuntimeError&) {
        first.insert(first.end(), errors.begin(), errors.end());
    }
    errors = std::move(first);
}

}  // namespace iqrx::platform::odbc
