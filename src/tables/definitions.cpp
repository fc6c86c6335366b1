#include "tables/definitions.h"

#include <algorithm>

namespace iqrx::tables {

std::vector<std::string_view> BlankedColumns(std::string_view table) {
    std::vector<std::string_view> columns;
    for (const engine::Table* each : {&kServiceCenters, &kServiceEmployees, &kInstallations}) {
        const engine::TableDef& def = each->def;
        if (def.name != table) continue;
        for (const engine::Column& column : def.columns)
            if (std::ranges::find(def.auditKeys, column.field, &engine::AuditKey::field) == def.auditKeys.end() &&
                std::ranges::find(def.outputFields, column.field) == def.outputFields.end())
                columns.push_back(column.name);
    }
    return columns;
}

}  // namespace iqrx::tables
