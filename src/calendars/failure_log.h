// The handler of the calendar routines: a failure ends the routine, not the run.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "control/copy_run.h"

namespace iqrx::calendars {

using control::CopyRun;

struct FailureText {
    std::string_view label;       // of the catalog
    std::string_view fixed = {};  // what the routine calls itself
};

inline constexpr FailureText kActualCalendars{"STIT0023"};
inline constexpr FailureText kDeleteCalendar{"SLBL0481", "Delete Calendar"};

// Runs a routine's body. A failure goes to the run log with the text and `subject`, such as "calendar C1",
// which the body may change as it goes on. Raises nothing.
void LogFailure(CopyRun& run, const FailureText& text, const std::string& subject,
                const std::function<void()>& body);

}  // namespace iqrx::calendars
