#include "tables/calendars/fake_calendar_service.h"

#include <algorithm>
#include <cstdio>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::testing {

using platform::Argument;
using platform::Integer;
using platform::Long;
using platform::ObjectRef;
using platform::Value;

namespace {

// The call id that continues a listing is where it stands, and this more, so that it is no plain count.
constexpr Long kFirstCallId = 40000;

platform::Date Moment(const std::string& date, Integer time) {
    const platform::Date day = platform::ParseIsoDate(date).value();
    return platform::AddMinutes(day, time / 100 * 60 + time % 100);
}

}  // namespace

Fields Interval(const std::string& calendar, const std::string& startDate, Integer startTime,
                const std::string& endDate, Integer endTime) {
    return {{"getCalendar", calendar},
            {"getAvailabilityType", std::string("A")},
            {"getStartDate", startDate},
            {"getStartTime", startTime},
            {"getEndDate", endDate},
            {"getEndTime", endTime},
            {"getCumulativeTime", std::string("9")},
            {"getCumulativeCapacity", std::string("8.5")},
            {"getStartutcdate", Moment(startDate, startTime)},
            {"getEndutcdate", Moment(endDate, endTime)}};
}

std::vector<Fields> Intervals(const std::string& calendar, int count) {
    std::vector<Fields> intervals;
    platform::Date day = platform::ParseIsoDate("2026-03-01").value();
    for (int i = 0; i < count; ++i, day = platform::AddDays(day, 1))
        intervals.push_back(Interval(calendar, platform::IsoDate(day), 800, platform::IsoDate(day), 1700));
    return intervals;
}

FakeCalendarService::FakeCalendarService(RecordingErp& erp) : erp_(erp) {
    erp.onCreateObject = [this](std::string_view progId) -> ObjectRef {
        if (progId != "Calendars.CalendarManager") return nullptr;
        return std::make_shared<FakeObject>(
            "service", &erp_.calls, [this](auto member, auto arguments) { return Answer(member, arguments); });
    };
}

Value FakeCalendarService::Answer(std::string_view member, std::span<Argument> arguments) {
    if (member == "Close") onClose();
    if (member != "ListUTCActualCalendarForQRX") return {};
    const auto text = [&](std::size_t i) { return platform::ToText(arguments[i].value); };
    listings.push_back(text(0) + " " + text(8) + " " + text(9) + " " + text(10));
    const Long callId = platform::ToLong(arguments[9].value);
    if (text(0) == failing && callId == failingCallId)
        throw platform::RuntimeError(-2147023170, "ERP", "The remote procedure call failed.");
    if (std::ranges::find(withoutPage, text(0)) != withoutPage.end()) return ObjectRef();
    return List(text(0), platform::ToLong(arguments[8].value), callId);
}

ObjectRef FakeCalendarService::List(const std::string& calendar, Long pageSize, Long callId) {
    const std::vector<Fields>& all = intervals[calendar];
    const std::size_t from = callId == 0 ? 0 : static_cast<std::size_t>(callId - kFirstCallId);
    const std::size_t to = std::min(all.size(), from + static_cast<std::size_t>(pageSize));
    const bool last = to == all.size();
    const std::vector<Fields> page(all.begin() + static_cast<std::ptrdiff_t>(from),
                                   all.begin() + static_cast<std::ptrdiff_t>(to));
    auto wrapper =
        std::make_shared<FakeObject>("wrapper", nullptr, [this, page](auto member, auto arguments) -> Value {
            if (member == "sizeActualCalendar") return static_cast<Long>(page.size());
            const auto index = static_cast<std::size_t>(arguments[0].value.template As<Integer>());
            return erp_.MakeRecord(page.at(index), "interval");
        });
    return std::make_shared<FakeObject>("page", nullptr, [=](auto member, auto) -> Value {
        if (member == "getUTCActualCalendarForQRXWrapper") return ObjectRef(wrapper);
        if (member == "getSetComplete") return std::string(last ? "Y" : "N");
        if (member == "getCallId") return kFirstCallId + static_cast<Long>(to);
        platform::RaiseRuntimeError(platform::kNoSuchMember, std::string(member));
    });
}

}  // namespace iqrx::testing
