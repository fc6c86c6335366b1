// The copyable tables by their catalog id.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/database.h"
#include "platform/machine.h"

namespace iqrx::control {

inline constexpr const char* kProductIdentifier = "1028";
// The number of the error of a catalog without a row.
inline constexpr std::int32_t kCatalogEmpty = 1004;

class TableCatalog {
public:
    static constexpr int kLastId = 128;

    // Reads the tables of a tree group over a connection of its own. Raises RuntimeError; without a row
    // "tstables or tstreenodes table is empty .. Cannot Proceed".
    void LoadTableCatalog(platform::DatabaseProvider& provider, const std::string& connectionString,
                          const std::string& database, platform::Integer databasePlatform,
                          const std::string& treeGroup);

    static bool HasRoomFor(int id) { return id >= 0 && id <= kLastId; }

    // Each raises "subscript out of range" for an id that there is no room for; an id without a table has
    // empty texts.
    const std::string& GetTableName(int id) const { return At(id).name; }
    const std::string& GetErpTableId(int id) const { return At(id).erpTableId; }
    const std::string& GetTableText(int id) const { return At(id).text; }

private:
    struct Entry {
        std::string erpTableId, name, text;
    };
    const Entry& At(int id) const;

    std::array<Entry, kLastId + 1> entries_;
};

}  // namespace iqrx::control
