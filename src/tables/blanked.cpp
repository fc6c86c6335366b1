#include "tables/blanked.h"

#include "engine/trail.h"
#include "tables/definitions.h"

namespace iqrx::tables {

std::vector<std::string_view> BlankedColumns(std::string_view table) {
    if (table == "tsmdm100") return engine::ColumnsBesideTrail(ServiceCenters());
    if (table == "tsmdm140") return engine::ColumnsBesideTrail(ServiceEmployees());
    if (table == "tscfg220") return engine::ColumnsBesideTrail(Installations());
    return {};
}

}  // namespace iqrx::tables
