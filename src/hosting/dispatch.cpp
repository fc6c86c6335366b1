#include "hosting/dispatch.h"

#include "engine/master_data.h"

namespace iqrx::hosting {

namespace {

constexpr control::TableRoutine kTables[] = {
    {"tsmdm030", engine::CopyServiceTypes},
};

void NoCalendar(control::CopyRun&, const std::string&, const std::string&) {}
void NoExpansion(control::CopyRun&) {}

constexpr control::CalendarRoutines kCalendars{NoCalendar, NoCalendar, NoExpansion};

}  // namespace

std::span<const control::TableRoutine> Tables() { return kTables; }

const control::CalendarRoutines& Calendars() { return kCalendars; }

}  // namespace iqrx::hosting
