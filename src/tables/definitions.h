// The tables as data, for whoever looks at them without copying. Calendars are not among them: they come from
// a service of their own.
#pragma once

#include <span>

#include "engine/table.h"

namespace iqrx::tables {

using Definition = const engine::Table&();

Definition SkillCombinations, ServiceTypes, ServiceCenters, ServiceAreas, Skills, EmployeeSkills,
    ServiceEmployees, Installations, ServiceObjects, ServiceOrders, OrderLines, Assignments, Activities,
    PlannedActivities, ResponseTimes, SolutionTimes, AvailabilityTypes, Addresses;

std::span<Definition* const> Definitions();  // in the order of the catalog's ids

}  // namespace iqrx::tables
