#include "platform/odbc/settings.h"

#include <limits>

#include "platform/connection_string.h"
#include "platform/error.h"

namespace iqrx::platform::odbc {

Settings SettingsOf(const std::string& connectionString) {
    ConnectionString given(connectionString);
    const auto take = [&](std::string_view key, const char* otherwise) {
        std::string value = given.Find(key).value_or(otherwise);
        given.Remove(key);
        return value;
    };
    const auto interval =
        platform::WholeNumber(take("Commit Interval", "0"), 0, std::numeric_limits<int>::max());
    if (!interval)
        throw RuntimeError(kInvalidProcedureCall, "ODBC",
                           "The value of Commit Interval is not a number of milliseconds");
    const int rows = RowsPerTrip(take("Rows per Trip", "1"));
    return {given.Text(), *interval, static_cast<std::size_t>(rows)};
}

}  // namespace iqrx::platform::odbc
