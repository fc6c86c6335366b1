// Calendar arithmetic on dates.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

struct CivilTime {
    int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

inline constexpr std::int64_t kSecondsPerDay = 86400;
// 1899-12-30: the day that a bare time of day lies on.
inline constexpr Date kZeroDay{-25569 * kSecondsPerDay};

Date FromCivil(const CivilTime& time);
CivilTime ToCivil(Date moment);
Date TimeOfDay(Date moment);  // the same time on the zero day
Date StartOfDay(Date moment);
inline Date AddDays(Date moment, int days) { return {moment.secondsSince1970 + days * kSecondsPerDay}; }
inline Date AddMinutes(Date moment, int minutes) {
    return {moment.secondsSince1970 + minutes * std::int64_t{60}};
}
// Day boundaries between the two, negative when `to` lies before `from`.
int DaysBetween(Date from, Date to);

// "YYYY-MM-DD", optionally followed by a blank and "HH:MM:SS"; nothing for any other text.
std::optional<Date> ParseIsoDate(std::string_view text);
std::string IsoDate(Date moment);  // "YYYY-MM-DD"
std::string IsoTime(Date moment);  // "HH:MM:SS"
inline std::string IsoDateTime(Date moment) { return IsoDate(moment) + ' ' + IsoTime(moment); }
std::string CompactDate(Date moment);  // "YYYYMMDD"

// An automation date: days since the zero day, the time of day as the fraction's absolute value.
double ToAutomationDate(Date moment);
Date FromAutomationDate(double days);

}  // namespace iqrx::platform
