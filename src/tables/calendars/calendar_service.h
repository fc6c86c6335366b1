// The ERP's calendar service: the intervals of a calendar, already in UTC, in pages.
#pragma once

#include <string>

#include "control/copy_run.h"
#include "platform/object.h"

namespace iqrx::tables {

using control::CopyRun;

// Start dates of the intervals that are copied, "yyyy-mm-dd".
struct DateWindow {
    std::string from, to;
};

// From the days of history that the parameters ask for to today's month and day in 2038.
DateWindow ComputeDateWindow(CopyRun& run);

// Every member raises RuntimeError.
class CalendarService {
public:
    CalendarService() = default;
    ~CalendarService();  // closes a service that a failure left open
    CalendarService(const CalendarService&) = delete;
    CalendarService& operator=(const CalendarService&) = delete;

    void Open(CopyRun& run, std::string runParameter);

    // A page of a calendar's intervals; Nothing where the service has none to give. The first page is asked
    // for with call id 0 and set-complete flag "N", each further one with those that the page before handed
    // back.
    platform::ObjectRef List(const std::string& calendar, const DateWindow& window, platform::Long callId,
                             const std::string& setComplete);
    void Close();

private:
    platform::ObjectRef manager_;
};

}  // namespace iqrx::tables
