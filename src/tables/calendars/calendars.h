// Actual calendars, tcccp030: one row per availability interval of a calendar, from the ERP's calendar service.
// A routine that fails says so in the run log, names the calendar, and ends: what was copied stays, and the
// run goes on to its normal outcome. An interval or a calendar that fails is logged and passed over. Nothing but
// CalcodesFilePath, getEmployeeCalenderList and DurationText raises, and InsertCalendarRecord when the connection is gone.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "control/copy_run.h"
#include "platform/object.h"

namespace iqrx::tables {

using control::CopyRun;

// The table's entry routine: copies the calendars in use and, where the parameters ask for it, expands them.
void CopyCalendars(const control::TableCall& call);
void CopyCalendarsFull(CopyRun& run, const std::string& runParameter);         // by mark and sweep
void CopyCalendarsIncremental(CopyRun& run, const std::string& runParameter);  // records the codes it copies

// The calendar runs: one calendar, or the one of an employee.
void CopyCalendar(CopyRun& run, const std::string& calendar, const std::string& runParameter);
void CopyEmployeeCalendar(CopyRun& run, const std::string& employee, const std::string& runParameter);

void DeleteCalendar(CopyRun& run, const std::string& calendar);

// Inserts one interval of the calendar and counts it.
void InsertCalendarRecord(CopyRun& run, const std::string& calendar, platform::Object& record,
                          const std::string& tableName);

// The expansion, tcccp031: the intervals of tcccp030 cut into one row per day, in UTC, for applications that
// look up a single day. A row without its UTC moments is logged and passed over.
void ExpandCalendars(CopyRun& run);        // the whole table
void ExpandListedCalendars(CopyRun& run);  // the calendars of the calendar-codes file; none without the file
void DeleteExpandedCalendar(CopyRun& run, const std::string& calendar);

// The calendar-codes file: the calendars that a copy touched, one code a line, handed to their expansion. It
// lies beside the run log and is named after it and the instance number. A failure ends only the routine: a
// calendar is copied even where its code cannot be written.
void CreateCalcodesFile(CopyRun& run);  // or empties it
void WriteCalcode(CopyRun& run, const platform::Value& sCalCode);
void CloseCalcodesFile(CopyRun& run);
// Raises "invalid procedure call" while the run log has no name.
std::filesystem::path CalcodesFilePath(CopyRun& run);

// Hands every calendar code in use to `add`, in the order of the codes. Raises RuntimeError: who deletes what
// is not in the list must know that it is whole.
void getEmployeeCalenderList(CopyRun& run, const std::function<void(const std::string& calendar)>& add);

// Between two times of day, each a whole number hhmm: "8 Hours 30 Minutes". An end before its start gives a
// negative number of hours and the minutes that lead up from it.
std::string DurationText(platform::Long startTime, platform::Long endTime);

}  // namespace iqrx::tables
