#include "qrxctl/embedded_schema.h"

#include "platform/connection_string.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::qrxctl {

bool ApplyEmbeddedSchema(const std::string& connectionString, const std::filesystem::path& script) {
    const platform::ConnectionString keys(connectionString);
    const auto provider = keys.Find("Provider");
    if (!provider || !platform::EqualIgnoringCase(*provider, "SQLite")) return false;
    platform::ApplySqliteScript(keys.Find("Data Source").value_or(""), ReadScript(script));
    return true;
}

}  // namespace iqrx::qrxctl
