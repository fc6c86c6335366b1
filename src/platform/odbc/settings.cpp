#include "platform/odbc/settings.h"

#include <charconv>
#include <limits>
#include <optional>

#include "platform/connection_string.h"
#include "platform/error.h"

namespace iqrx::platform::odbc {

namespace {

constexpr const char* kCommitInterval = "Commit Interval";
constexpr const char* kRowsPerTrip = "Rows per Trip";

std::optional<int> NumberIn(const std::string& text, int least, int most) {
    int number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(text.data(), last, number);
    if (failure != std::errc() || end != last || number < least || number > most) return std::nullopt;
    return number;
}

int Milliseconds(const std::string& interval) {
    const auto milliseconds = NumberIn(interval, 0, std::numeric_limits<int>::max());
    if (!milliseconds)
        throw RuntimeError(kInvalidProcedureCall, "ODBC",
                           "The value of Commit Interval is not a number of milliseconds");
    return *milliseconds;
}

std::size_t Rows(const std::string& text) {
    const auto rows = NumberIn(text, 1, 10000);
    if (!rows)
        RaiseRuntimeError(kInvalidProcedureCall,
                          "the value of Rows per Trip is not a whole number from 1 to 10000");
    return static_cast<std::size_t>(*rows);
}

}  // namespace

Settings SettingsOf(const std::string& connectionString) {
    ConnectionString given(connectionString);
    Settings settings;
    settings.commitInterval = Milliseconds(given.Find(kCommitInterval).value_or("0"));
    settings.rowsPerTrip = Rows(given.Find(kRowsPerTrip).value_or("1"));
    given.Remove(kCommitInterval);
    given.Remove(kRowsPerTrip);
    settings.driverText = given.Text();
    return settings;
}

}  // namespace iqrx::platform::odbc
