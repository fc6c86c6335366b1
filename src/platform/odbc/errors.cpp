#include "platform/odbc/errors.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <array>

#include "platform/database_failure.h"
#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::platform::odbc {

namespace {

constexpr std::string_view kLostState = "08S01";
constexpr const char* kLostText = "The connection to the database was lost";

constexpr std::array kNumbers{
    NumberOfState{"23", -2147217873},     // integrity violation
    NumberOfState{"42S02", -2147217865},  // no such table
    NumberOfState{"42", -2147217900},     // errors in the text
    NumberOfState{"37", -2147217900},
    NumberOfState{"22007", -2147217913},  // conversion
    NumberOfState{"22018", -2147217913},
    NumberOfState{"22001", -2147217833},  // the value does not fit its column
    NumberOfState{"22003", -2147217833},
    NumberOfState{"28", -2147217843},    // login
    NumberOfState{"HYT", -2147217871},   // time-out
    NumberOfState{"HYC00", -2147217887}  // the driver can't
};

struct StateOfNative {
    std::int32_t native;
    const char* state;
};

// Servers' own numbers for causes that drivers do not tell from others by the state.
constexpr std::array kStates{
    StateOfNative{1205, "40001"},   // SQL Server: the victim of a deadlock
    StateOfNative{3960, "40001"},   // SQL Server: changed by another since this one's snapshot
    StateOfNative{8152, "22001"},   // SQL Server: a text longer than its column
    StateOfNative{2628, "22001"},   // the same, with table and column
    StateOfNative{12899, "22001"},  // the same of Oracle
};

void SetState(ErrorEntry& entry, std::int32_t native) {
    const auto found = std::ranges::find(kStates, native, &StateOfNative::native);
    if (found != kStates.end()) entry.sqlState = found->state;
    entry.number = NumberOf(entry.sqlState, kNumbers);
}

// One record of the diagnostics; false after the last. The text is cut when it is longer than any cause.
bool ReadRecord(const Handle& handle, const DriverTraits& driver, SQLSMALLINT number, ErrorEntry& entry) {
    constexpr SQLSMALLINT kLongest = 4096;
    const auto kind = static_cast<SQLSMALLINT>(handle.Kind());
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (driver.wide) {
        std::array<SQLWCHAR, 6> state{};
        std::u16string text(kLongest, u'\0');
        if (!SQL_SUCCEEDED(SQLGetDiagRecW(kind, handle.Get(), number, state.data(), &native,
                                          reinterpret_cast<SQLWCHAR*>(text.data()), kLongest, &length)))
            return false;
        entry.sqlState.assign(state.begin(), state.begin() + 5);
        entry.description = ToUtf8(text.c_str());
    } else {
        std::array<SQLCHAR, 6> state{};
        std::string text(kLongest, '\0');
        if (!SQL_SUCCEEDED(SQLGetDiagRec(kind, handle.Get(), number, state.data(), &native,
                                         reinterpret_cast<SQLCHAR*>(text.data()), kLongest, &length)))
            return false;
        entry.sqlState.assign(state.begin(), state.begin() + 5);
        entry.description = text.c_str();
    }
    SetState(entry, native);
    // The state stands before the words: it is what the reader looks up.
    entry.description = "[" + entry.sqlState + "] " + Printable(entry.description);
    entry.source = driver.source;
    return true;
}

}  // namespace

Errors ReadDiagnostics(const Handle& handle, const DriverTraits& driver) {
    Errors errors;
    ErrorEntry entry;
    for (SQLSMALLINT number = 1; ReadRecord(handle, driver, number, entry); ++number) errors.push_back(entry);
    if (errors.empty())
        errors.push_back(
            {kDatabaseError, driver.source, "The driver reports a failure without a cause", "HY000"});
    return errors;
}

void NameLostLink(Errors& errors, const DriverTraits& driver) {
    const std::string cause = errors.front().description;
    errors.insert(errors.begin(), {kDatabaseError, driver.source, std::string(kLostText) + ": " + cause,
                                   std::string(kLostState)});
}

bool EndATransaction(const Errors& errors) {
    return errors.front().sqlState.starts_with("40") || errors.front().sqlState == kLostState;
}

}  // namespace iqrx::platform::odbc
