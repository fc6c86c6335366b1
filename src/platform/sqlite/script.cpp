#include "platform/sqlite/database.h"
#include "platform/sqlite/sqlite_database.h"

namespace iqrx::platform {

void ApplySqliteScript(const std::filesystem::path& file, std::string_view script) {
    sqlite::Database database(file, sqlite::Database::Access::Create);
    sqlite::Transaction transaction(database);
    database.Run(std::string(script));
    transaction.Keep();
}

}  // namespace iqrx::platform
