#include "tables/definitions.h"

namespace iqrx::tables {

namespace {

constexpr Definition* kDefinitions[] = {
    SkillCombinations, ServiceTypes,      ServiceCenters, ServiceAreas,      Skills,
    EmployeeSkills,    ServiceEmployees,  Installations,  ServiceObjects,    ServiceOrders,
    OrderLines,        Assignments,       Activities,     PlannedActivities, ResponseTimes,
    SolutionTimes,     AvailabilityTypes, Addresses,
};

}  // namespace

std::span<Definition* const> Definitions() { return kDefinitions; }

}  // namespace iqrx::tables
