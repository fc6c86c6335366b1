// The handler of the calendar routines: a failure ends the routine, not the run.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "control/copy_run.h"

namespace iqrx::tables {

using control::CopyRun;

struct FailureText {
    std::string_view label;       // of the catalog
    std::string_view fixed = {};  // what the routine calls itself
};

// What a routine was about when it failed; nothing while `what` is empty.
struct Subject {
    std::string_view what = {};
    std::string code = {};
};
inline Subject CalendarNamed(std::string code) { return {"calendar", std::move(code)}; }

inline constexpr FailureText kActualCalendars{"STIT0023"};
inline constexpr FailureText kDeleteCalendar{"SLBL0481", "Delete Calendar"};

// Runs a routine's body. A failure goes to the run log with the text and the
// subject, which the body may change as it goes on. Raises nothing.
void LogFailure(CopyRun& run, const FailureText& text, const Subject& subject,
                const std::function<void()>& body);

// The same for a part of a routine that goes on with the next part. Where the connection is gone, or what it
// wrote before is, the failure is raised again once it is logged: no further part would go through.
void LogFailureAndGoOn(CopyRun& run, const FailureText& text, const Subject& subject,
                       const std::function<void()>& body);

}  // namespace iqrx::tables
