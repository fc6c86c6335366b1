// The ERP's calendar service: the intervals of a calendar, already in UTC, in pages.
#pragma once

#include <string>
#include <utility>

#include "engine/copy_pattern.h"
#include "platform/conversions.h"
#include "platform/date.h"

namespace iqrx::tables {

using control::CopyRun;

// Every member raises RuntimeError.
class CalendarService {
public:
    CalendarService() = default;
    CalendarService(const CalendarService&) = delete;
    CalendarService& operator=(const CalendarService&) = delete;
    ~CalendarService() {
        try {
            if (manager_) Close();
        } catch (const std::exception&) {
            // The failure that left the service open is the one to report.
        }
    }

    // For the intervals that start between as many days ago as the parameters ask for and today's month and
    // day in 2038, however many days of history these are.
    void Open(CopyRun& run, std::string runParameter) {
        manager_ =
            engine::RegisterManager(run, run.Erp(runParameter).CreateObject("Calendars.CalendarManager"));
        platform::Value parameter = std::move(runParameter);
        platform::Call(*manager_, "Initialize", platform::ByRef{parameter});
        const int history = run.process.controlTables.GetQrxCalendar();
        const platform::Date today = run.process.machine.clock.Now();
        from_ = platform::IsoDate(platform::AddDays(today, -history));
        to_ = "2038" + platform::IsoDate(today).substr(4);
    }

    // A page of a calendar's intervals; Nothing where the service has none to give. The first page is asked
    // for with call id 0 and set-complete flag "N", each further one with those that the page before handed
    // back.
    platform::ObjectRef List(const std::string& calendar, platform::Long callId,
                             const std::string& setComplete) {
        constexpr int kAvailabilityTypeWidth = 6;
        constexpr platform::Integer kStartOfDay = 0, kEndOfDay = 2400;
        platform::Value pageSize = platform::Long{750}, id = callId, complete = setComplete;
        return platform::ObjectOrNothing(
            platform::Call(*manager_, "ListUTCActualCalendarForQRX", calendar, calendar, std::string(),
                           runtime::MaxKeyString(kAvailabilityTypeWidth), from_, to_, kStartOfDay, kEndOfDay,
                           platform::ByRef{pageSize}, platform::ByRef{id}, platform::ByRef{complete}));
    }

    void Close() { platform::Call(*std::exchange(manager_, {}), "Close"); }

private:
    platform::ObjectRef manager_;
    std::string from_, to_;  // "yyyy-mm-dd"
};

}  // namespace iqrx::tables
