#include "platform/postgres/settings.h"

#include <algorithm>
#include <array>
#include <limits>

#include "platform/connection_string.h"
#include "platform/error.h"

namespace iqrx::platform::postgres {

namespace {

struct Key {
    std::string_view name;
    const char* keyword;
};
constexpr std::array kKeys{Key{"Host", "host"},
                           Key{"Port", "port"},
                           Key{"Database", "dbname"},
                           Key{"User", "user"},
                           Key{"Password", "password"},
                           Key{"SSLMode", "sslmode"},
                           Key{"SSLRootCert", "sslrootcert"},
                           Key{"Service", "service"},
                           Key{"Application Name", "application_name"}};

int Seconds(const std::string& text) {
    const auto seconds = WholeNumber(text, 0, std::numeric_limits<int>::max());
    if (!seconds)
        RaiseRuntimeError(kInvalidProcedureCall, "the value of Connect Timeout is not a number of seconds");
    return *seconds;
}

// What follows a password may be a part of it.
[[noreturn]] void RaiseUnknownKey(const Settings& before, const std::string& name) {
    const bool afterPassword =
        std::ranges::any_of(before.keywords, [](const auto& given) { return given.first == "password"; });
    RaiseRuntimeError(kInvalidProcedureCall,
                      afterPassword
                          ? "the connection string has a key after the password that PostgreSQL does "
                            "not know; a password that holds \";\" stands in braces"
                          : "the connection string has a key that PostgreSQL does not know: " + name);
}

}  // namespace

Settings SettingsOf(const std::string& connectionString, int timeout) {
    const ConnectionString given(connectionString);
    Settings settings{.keywords = {}, .timeout = timeout};
    for (const std::string& name : given.Keys()) {
        const std::string value = *given.Find(name);
        const auto known =
            std::ranges::find_if(kKeys, [&](const Key& key) { return EqualIgnoringCase(key.name, name); });
        if (known != kKeys.end())
            settings.keywords.emplace_back(known->keyword, value);
        else if (EqualIgnoringCase(name, "Connect Timeout"))
            settings.timeout = Seconds(value);
        else if (EqualIgnoringCase(name, "Rows per Trip"))
            settings.rowsPerTrip = RowsPerTrip(value);
        else if (!EqualIgnoringCase(name, "Provider"))
            RaiseUnknownKey(settings, name);
    }
    settings.keywords.emplace_back("fallback_application_name", kProgram);
    settings.keywords.emplace_back("client_encoding", "UTF8");
    return settings;
}

}  // namespace iqrx::platform::postgres
