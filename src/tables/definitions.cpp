#include "tables/definitions.h"

#include "engine/trail.h"

namespace iqrx::tables {

std::vector<std::string_view> BlankedColumns(std::string_view table) {
    if (table == "tsmdm100") return engine::ColumnsBesideTrail(kServiceCenters);
    if (table == "tsmdm140") return engine::ColumnsBesideTrail(kServiceEmployees);
    if (table == "tscfg220") return engine::ColumnsBesideTrail(kInstallations);
    return {};
}

}  // namespace iqrx::tables
