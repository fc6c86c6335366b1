#include "tables/calendars/calendar_service.h"

#include <utility>

#include "engine/copy_pattern.h"
#include "platform/date.h"

namespace iqrx::tables {

using platform::ByRef;
using platform::Call;
using platform::Integer;
using platform::Long;
using platform::ObjectRef;
using platform::Value;

DateWindow ComputeDateWindow(CopyRun& run) {
    const int history = run.process.controlTables.GetQrxCalendar();
    const platform::Date today = run.process.machine.clock.Now();
    // The last year is fixed, however many days of history are asked for.
    return {platform::IsoDate(platform::AddDays(today, -history)), "2038" + platform::IsoDate(today).substr(4)};
}

void CalendarService::Open(CopyRun& run, std::string runParameter) {
    manager_ = engine::RegisterManager(run, run.Erp(runParameter).CreateObject("Calendars.CalendarManager"));
    Value parameter = std::move(runParameter);
    Call(*manager_, "Initialize", ByRef{parameter});
}

CalendarService::~CalendarService() {
    try {
        if (manager_) Close();
    } catch (const std::exception&) {
        // The failure that left the service open is the one to report.
    }
}

ObjectRef CalendarService::List(const std::string& calendar, const DateWindow& window, Long callId,
                                const std::string& setComplete) {
    constexpr int kAvailabilityTypeWidth = 6;
    constexpr Integer kStartOfDay = 0, kEndOfDay = 2400;
    constexpr Long kPageSize = 750;
    Value pageSize = kPageSize, id = callId, complete = setComplete;
    const Value page = Call(*manager_, "ListUTCActualCalendarForQRX", calendar, calendar, std::string(),
                            runtime::MaxKeyString(kAvailabilityTypeWidth), window.from, window.to,
                            kStartOfDay, kEndOfDay, ByRef{pageSize}, ByRef{id}, ByRef{complete});
    return page.Is<ObjectRef>() ? page.As<ObjectRef>() : ObjectRef();
}

void CalendarService::Close() {
    const ObjectRef manager = std::exchange(manager_, {});
    Call(*manager, "Close");
}

}  // namespace iqrx::tables
