// The expansion, tcccp031: the intervals of tcccp030 cut into one row per day, in UTC, for applications that
// look up a single day. A row without its UTC moments is logged and passed over. A routine that fails says so
// in the run log and ends; nothing is raised.
#pragma once

#include <string>

#include "control/copy_run.h"

namespace iqrx::tables {

using control::CopyRun;

void ExpandCalendars(CopyRun& run);        // the whole table
void ExpandListedCalendars(CopyRun& run);  // the calendars of the calendar-codes file; none without the file
void DeleteExpandedCalendar(CopyRun& run, const std::string& calendar);

}  // namespace iqrx::tables
