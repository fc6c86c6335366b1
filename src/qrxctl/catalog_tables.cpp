#include "qrxctl/catalog_tables.h"

#include <algorithm>

#include "platform/text.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

std::vector<std::string> TablesOf(const control::TableCatalog& catalog) {
    std::vector<std::string> tables;
    for (int id = 0; id < control::TableCatalog::kLastId; ++id)
        if (std::string table = catalog.GetTableName(id); !table.empty()) tables.push_back(std::move(table));
    return tables;
}

std::vector<std::string> TablesNamed(const control::TableCatalog& catalog,
                                     const std::vector<std::string>& names) {
    const std::vector<std::string> known = TablesOf(catalog);
    std::vector<std::string> tables;
    for (const std::string& name : names) {
        const auto found = std::ranges::find_if(
            known, [&](const std::string& table) { return platform::EqualIgnoringCase(table, name); });
        if (found == known.end()) throw UsageError("no table \"" + name + "\" in the catalog");
        if (std::ranges::find(tables, *found) == tables.end()) tables.push_back(*found);
    }
    return tables;
}

}  // namespace iqrx::qrxctl
