#include "platform/odbc/settings.h"

#include <limits>

#include "platform/connection_string.h"
#include "platform/error.h"

namespace iqrx::platform::odbc {

namespace {

constexpr const char* kCommitInterval = "Commit Interval";
constexpr const char* kRowsPerTrip = "Rows per Trip";

int Milliseconds(const std::string& interval) {
    const auto milliseconds = WholeNumber(interval, 0, std::numeric_limits<int>::max());
    if (!milliseconds)
        throw RuntimeError(kInvalidProcedureCall, "ODBC",
                           "The value of Commit Interval is not a number of milliseconds");
    return *milliseconds;
}

}  // namespace

Settings SettingsOf(const std::string& connectionString) {
    ConnectionString given(connectionString);
    Settings settings;
    settings.commitInterval = Milliseconds(given.Find(kCommitInterval).value_or("0"));
    settings.rowsPerTrip = static_cast<std::size_t>(RowsPerTrip(given.Find(kRowsPerTrip).value_or("1")));
    given.Remove(kCommitInterval);
    given.Remove(kRowsPerTrip);
    settings.driverText = given.Text();
    return settings;
}

}  // namespace iqrx::platform::odbc
