// Extracts that hold what an ERP may ever have, made by rapidcheck.
#pragma once

#include <filesystem>

#include "control/copy_run.h"
#include "hosting/dispatch.h"
#include "support/extract_erps.h"

namespace iqrx::testing {

// Records and a trail of the table, few keys among them, so that changes meet rows that are there. Inside of
// a property only.
void WriteAnyExtract(const control::TableRoutine& routine, const std::filesystem::path& directory);

// Calendars, which come from the calendar service, with texts in their places.
inline constexpr const char* kAnyCalendars =
    "calendar,availability_type,start_date,start_time,end_date,end_time,cumulative_time,"
    "cumulative_capacity,start_utc,end_utc\n"
    "C'1,N'X,2026-03-01,800,2026-03-03,1730,45.00,1.00,2026-03-01 07:00:00,2026-03-03 16:30:00\n"
    "C'1,'',2026-03-04,2359,2026-03-04,1,,,,\n"
    "C2,,2026-03-05,0,2026-03-06,2400,'0.1',1E5,2026-03-05 00:00:00,\n";

}  // namespace iqrx::testing
