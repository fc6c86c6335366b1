#include "tables/blanked.h"

#include "tables/configuration/configuration.h"
#include "tables/master/master_data.h"

namespace iqrx::tables {

std::vector<std::string_view> BlankedColumns(std::string_view table) {
    if (table == "tsmdm100") return ServiceCenterColumnsBesideTrail();
    if (table == "tsmdm140") return ServiceEmployeeColumnsBesideTrail();
    if (table == "tscfg220") return InstallationColumnsBesideTrail();
    return {};
}

}  // namespace iqrx::tables
