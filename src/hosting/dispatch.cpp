#include "hosting/dispatch.h"

#include "calendars/calendars.h"
#include "calendars/configuration.h"
#include "calendars/expansion.h"
#include "engine/master_data.h"
#include "orders/orders.h"

namespace iqrx::hosting {

namespace {

constexpr control::TableRoutine kTables[] = {
    {"tsmdm000", calendars::CopySkillCombinations},
    {"tsmdm030", engine::CopyServiceTypes},
    {"tsmdm100", engine::CopyServiceCenters},
    {"tsmdm105", engine::CopyServiceAreas},
    {"tsmdm130", engine::CopySkills},
    {"tsmdm135", engine::CopyEmployeeSkills},
    {"tsmdm140", engine::CopyServiceEmployees},
    {"tscfg220", calendars::CopyInstallations},
    {"tscfg200", calendars::CopyServiceObjects},
    {"tssoc200", orders::CopyServiceOrders},
    {"tssoc205", orders::CopyServiceOrderLines},
    {"tssoc206", orders::CopyAssignments},
    {"tssoc210", orders::CopyServiceOrderActivities},
    {"tsspc200", orders::CopyPlannedActivities},
    {"tsclm020", engine::CopyResponseTimes},
    {"tsclm024", engine::CopySolutionTimes},
    {"tcccp001", calendars::CopyAvailabilityTypes},
    {"tccom130", engine::CopyAddresses},
    {"tcccp030", calendars::CopyCalendars},
};

constexpr control::CalendarRoutines kCalendars{calendars::CopyEmployeeCalendar, calendars::CopyCalendar,
                                               calendars::ExpandListedCalendars};

}  // namespace

std::span<const control::TableRoutine> Tables() { return kTables; }

const control::CalendarRoutines& Calendars() { return kCalendars; }

}  // namespace iqrx::hosting
