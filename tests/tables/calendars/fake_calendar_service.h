// A calendar service that exists in the test alone: pages of the intervals it was told, each listing
// recorded.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/recording_erp.h"

namespace iqrx::testing {

// An interval of a calendar on one day or on two, with availability type "A", cumulative time "9" and
// capacity "8.5"; its UTC moments are its local ones.
Fields Interval(const std::string& calendar, const std::string& startDate, platform::Integer startTime,
                const std::string& endDate, platform::Integer endTime);
// So many intervals from 2026-03-01 on, one a day.
std::vector<Fields> Intervals(const std::string& calendar, int count);

struct FakeCalendarService {
    // From now on the ERP creates its calendar service here.
    explicit FakeCalendarService(RecordingErp& erp);

    std::map<std::string, std::vector<Fields>> intervals;  // by calendar
    std::vector<std::string> withoutPage;                  // calendars that get Nothing for a page
    std::string failing;                                   // the calendar whose listing fails
    platform::Long failingCallId = 0;                      // on the page asked for with this call id
    std::function<void()> onClose = [] {};

    std::vector<std::string> listings;  // "CALENDAR PAGESIZE CALLID FLAG" of each listing

private:
    platform::Value Answer(std::string_view member, std::span<platform::Argument> arguments);
    platform::ObjectRef List(const std::string& calendar, platform::Long pageSize, platform::Long callId);

    RecordingErp& erp_;
};

}  // namespace iqrx::testing
