#include "platform/odbc/driver.h"

#include <sql.h>
#include <sqlext.h>

#include <optional>

#include "platform/text.h"

namespace iqrx::platform::odbc {

static_assert(static_cast<SQLSMALLINT>(HandleKind::Environment) == SQL_HANDLE_ENV);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Connection) == SQL_HANDLE_DBC);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Statement) == SQL_HANDLE_STMT);
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the boundary is UTF-16");

Handle::Handle(HandleKind kind, void* parent) {
    void* native = nullptr;
    if (SQL_SUCCEEDED(SQLAllocHandle(static_cast<SQLSMALLINT>(kind), parent, &native)))
        native_ = {native, FreeHandle{kind}};
}

void FreeHandle::operator()(void* native) const { SQLFreeHandle(static_cast<SQLSMALLINT>(kind), native); }

namespace {

std::string TextInfo(const Handle& connection, SQLUSMALLINT what) {
    std::u16string text(256, u'\0');
    SQLSMALLINT bytes = 0;
    const auto result = SQLGetInfoW(connection.Get(), what, text.data(),
                                    static_cast<SQLSMALLINT>(text.size() * sizeof(char16_t)), &bytes);
    return SQL_SUCCEEDED(result) ? ToUtf8(text.c_str()) : std::string();
}

std::optional<SQLUSMALLINT> NumberInfo(const Handle& connection, SQLUSMALLINT what) {
    SQLUSMALLINT value = 0;
    const auto result = SQLGetInfoW(connection.Get(), what, &value, sizeof value, nullptr);
    return SQL_SUCCEEDED(result) ? std::optional(value) : std::nullopt;
}

// A server names itself; what speaks its protocol is told by the driver that does.
bool TakesTransactSql(const Handle& connection, const std::string& driver) {
    const std::string server = Lower(TextInfo(connection, SQL_DBMS_NAME));
    return server.find("sql server") != std::string::npos || Lower(driver).find("tdsodbc") != std::string::npos;
}

// Whether a text comes back from the driver as it went there.
bool KeepsWideTexts(const Handle& connection) {
    std::u16string text = u"SELECT '\u6771\U0001F600'";
    std::u16string back(text.size() * 4, u'\0');
    SQLINTEGER length = 0;
    const auto result = SQLNativeSqlW(connection.Get(), reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS,
                                      reinterpret_cast<SQLWCHAR*>(back.data()),
                                      static_cast<SQLINTEGER>(back.size()), &length);
    return !SQL_SUCCEEDED(result) || back.find(u"\u6771\U0001F600") != std::u16string::npos;
}

}  // namespace

DriverTraits ReadDriverTraits(const Handle& connection) {
    DriverTraits driver;
    if (const std::string name = TextInfo(connection, SQL_DRIVER_NAME); !name.empty()) driver.source = name;
    driver.quote = TextInfo(connection, SQL_IDENTIFIER_QUOTE_CHAR);
    if (driver.quote == " ") driver.quote.clear();  // how drivers say that there is none
    const auto nameCase = NumberInfo(connection, SQL_IDENTIFIER_CASE);
    if (nameCase == SQL_IC_UPPER) driver.nameCase = NameCase::Upper;
    if (nameCase == SQL_IC_LOWER) driver.nameCase = NameCase::Lower;
    driver.catalogs = TextInfo(connection, SQL_CATALOG_NAME) == "Y";
    driver.openCursors = NumberInfo(connection, SQL_MAX_CONCURRENT_ACTIVITIES).value_or(1) != 1 &&
                         NumberInfo(connection, SQL_CURSOR_COMMIT_BEHAVIOR) == SQL_CB_PRESERVE;
    driver.transactSql = TakesTransactSql(connection, driver.source);
    driver.wide = KeepsWideTexts(connection);
    return driver;
}

std::string CatalogName(std::string_view written, NameCase nameCase) {
    if (written.ends_with('"') || written.ends_with(']')) {
        const auto open = written.rfind(written.back() == ']' ? '[' : '"', written.size() - 2);
        return std::string(written.substr(open + 1, written.size() - open - 2));
    }
    const std::string_view name = written.substr(written.rfind('.') + 1);
    return nameCase == NameCase::Upper   ? Upper(name)
           : nameCase == NameCase::Lower ? Lower(name)
                                         : std::string(name);
}

std::string LastPart(std::string_view written) { return Lower(CatalogName(written, NameCase::AsWritten)); }

}  // namespace iqrx::platform::odbc
