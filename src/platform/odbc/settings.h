// What a connection string says to this system, and what of it is left for the driver.
#pragma once

#include <string>

namespace iqrx::platform::odbc {

struct Settings {
    std::string driverText;       // without the keys below
    int commitInterval = 0;       // milliseconds; 0: each statement by itself
    std::size_t rowsPerTrip = 1;  // 1: each answer is waited for
};

// Raises RuntimeError that names the key whose value is wrong.
Settings SettingsOf(const std::string& connectionString);

}  // namespace iqrx::platform::odbc
