#include "platform/sqlite/handles.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::platform {

void ApplySqliteScript(const std::filesystem::path& file, std::string_view script) {
    sqlite::Database database(file, sqlite::Database::IfMissing::Create);
    database.Run("BEGIN IMMEDIATE");
    try {
        database.Run(std::string(script));
        database.Run("COMMIT");
    } catch (...) {
        if (database.InTransaction()) database.Run("ROLLBACK");
        throw;
    }
}

}  // namespace iqrx::platform
