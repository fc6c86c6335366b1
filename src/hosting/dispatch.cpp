#include "hosting/dispatch.h"

#include "tables/calendars/calendars.h"
#include "tables/orders/orders.h"
#include "tables/routines.h"

namespace iqrx::hosting {

namespace {

constexpr control::TableRoutine kTables[] = {
    {"tsmdm000", tables::CopySkillCombinations},
    {"tsmdm030", tables::CopyServiceTypes},
    {"tsmdm100", tables::CopyServiceCenters},
    {"tsmdm105", tables::CopyServiceAreas},
    {"tsmdm130", tables::CopySkills},
    {"tsmdm135", tables::CopyEmployeeSkills},
    {"tsmdm140", tables::CopyServiceEmployees},
    {"tscfg220", tables::CopyInstallations},
    {"tscfg200", tables::CopyServiceObjects},
    {"tssoc200", tables::CopyServiceOrders},
    {"tssoc205", tables::CopyServiceOrderLines},
    {"tssoc206", tables::CopyAssignments},
    {"tssoc210", tables::CopyServiceOrderActivities},
    {"tsspc200", tables::CopyPlannedActivities},
    {"tsclm020", tables::CopyResponseTimes},
    {"tsclm024", tables::CopySolutionTimes},
    {"tcccp001", tables::CopyAvailabilityTypes},
    {"tccom130", tables::CopyAddresses},
    {"tcccp030", tables::CopyCalendars},
};

constexpr control::CalendarRoutines kCalendars{tables::CopyEmployeeCalendar, tables::CopyCalendar,
                                               tables::ExpandListedCalendars};

}  // namespace

std::span<const control::TableRoutine> Tables() { return kTables; }

const control::CalendarRoutines& Calendars() { return kCalendars; }

}  // namespace iqrx::hosting
