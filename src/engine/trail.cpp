#include "engine/trail.h"

#include <algorithm>

namespace iqrx::engine {

std::vector<std::string_view> ColumnsBesideTrail(const Table& table) {
    std::vector<std::string_view> columns;
    for (const Column& column : table.def.columns) {
        const bool isKey = std::ranges::any_of(
            table.def.auditKeys, [&](const AuditKey& key) { return key.field == column.field; });
        const bool isAskedFor = std::ranges::any_of(
            table.def.outputFields, [&](std::string_view field) { return field == column.field; });
        if (!isKey && !isAskedFor) columns.push_back(column.name);
    }
    return columns;
}

}  // namespace iqrx::engine
