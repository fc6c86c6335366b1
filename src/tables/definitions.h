// The tables as data, for whoever looks at them without copying. Calendars are not among them: they come from
// a service of their own.
#pragma once

#include <string_view>
#include <vector>

#include "engine/table.h"

namespace iqrx::tables {

extern const engine::Table kSkillCombinations, kServiceTypes, kServiceCenters, kServiceAreas, kSkills,
    kEmployeeSkills, kServiceEmployees, kInstallations, kServiceObjects, kServiceOrders, kOrderLines,
    kAssignments, kActivities, kPlannedActivities, kResponseTimes, kSolutionTimes, kAvailabilityTypes,
    kAddresses;

// In the order of the catalog's ids.
inline constexpr const engine::Table* kTables[] = {
    &kSkillCombinations, &kServiceTypes,      &kServiceCenters, &kServiceAreas,      &kSkills,
    &kEmployeeSkills,    &kServiceEmployees,  &kInstallations,  &kServiceObjects,    &kServiceOrders,
    &kOrderLines,        &kAssignments,       &kActivities,     &kPlannedActivities, &kResponseTimes,
    &kSolutionTimes,     &kAvailabilityTypes, &kAddresses,
};

// The columns of a table that an incremental copy writes as empty texts and only a full copy fills. Empty for the
// tables whose trail carries every column, and for orders, whose incremental copy keeps what it does not know.
std::vector<std::string_view> BlankedColumns(std::string_view table);

}  // namespace iqrx::tables
