// A connection string in libpq's words.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace iqrx::platform::postgres {

struct Settings {
    std::vector<std::pair<std::string, std::string>> keywords;  // libpq's, with their values
    int timeout = 0;                                            // seconds to connect in; 0: no limit
    int rowsPerTrip = 200;                                      // 1: each answer is waited for
};

// Raises RuntimeError that names the key that is wrong, never a value. A limit in the string goes before the
// one that is given.
Settings SettingsOf(const std::string& connectionString, int timeout);

}  // namespace iqrx::platform::postgres
