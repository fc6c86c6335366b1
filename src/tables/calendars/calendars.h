// Actual calendars, tcccp030: one row per availability interval of a calendar, from the ERP's calendar service.
// A routine that fails says so in the run log, names the calendar, and ends: what was copied stays, and the
// run goes on to its normal outcome. An interval or a calendar that fails is logged and passed over. Nothing but
// getEmployeeCalenderList and DurationText raises, and InsertCalendarRecord when the connection is gone.
#pragma once

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

// Hands every calendar code in use to `add`, in the order of the codes. Raises RuntimeError: who deletes what
// is not in the list must know that it is whole.
void getEmployeeCalenderList(CopyRun& run, const std::function<void(const std::string& calendar)>& add);

// Between two times of day, each a whole number hhmm: "8 Hours 30 Minutes". An end before its start gives a
// negative number of hours and the minutes that lead up from it.
std::string DurationText(platform::Long startTime, platform::Long endTime);

}  // namespace iqrx::tables
