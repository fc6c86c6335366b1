#include "platform/date.h"

#include <chrono>
#include <cmath>

#include "platform/text.h"

namespace iqrx::platform {

namespace {

std::int64_t FloorDays(Date moment) {
    return std::chrono::floor<std::chrono::days>(std::chrono::seconds(moment.secondsSince1970)).count();
}

std::string Padded(int number, std::size_t width) {
    std::string digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

int TwoDigits(std::string_view text, std::size_t place) {
    return (text[place] - '0') * 10 + text[place + 1] - '0';
}

std::chrono::year_month_day Day(const CivilTime& time) {
    return std::chrono::year(time.year) / time.month / time.day;
}

}  // namespace

Date FromCivil(const CivilTime& time) {
    const std::chrono::sys_days day = Day(time);
    return {day.time_since_epoch().count() * kSecondsPerDay + time.hour * 3600 + time.minute * 60 + time.second};
}

CivilTime ToCivil(Date moment) {
    const std::int64_t days = FloorDays(moment);
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(days))};
    const int seconds = static_cast<int>(moment.secondsSince1970 - days * kSecondsPerDay);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            seconds / 3600,
            seconds / 60 % 60,
            seconds % 60};
}

Date TimeOfDay(Date moment) {
    return {kZeroDay.secondsSince1970 + moment.secondsSince1970 - FloorDays(moment) * kSecondsPerDay};
}

Date StartOfDay(Date moment) { return {FloorDays(moment) * kSecondsPerDay}; }

int DaysBetween(Date from, Date to) { return static_cast<int>(FloorDays(to) - FloorDays(from)); }

std::optional<Date> ParseIsoDate(std::string_view text) {
    const bool hasTime = HasForm(text, "0000-00-00 00:00:00");
    if (!hasTime && !HasForm(text, "0000-00-00")) return std::nullopt;
    CivilTime time{TwoDigits(text, 0) * 100 + TwoDigits(text, 2), TwoDigits(text, 5), TwoDigits(text, 8)};
    if (!Day(time).ok()) return std::nullopt;
    if (hasTime) {
        time.hour = TwoDigits(text, 11);
        time.minute = TwoDigits(text, 14);
        time.second = TwoDigits(text, 17);
        if (time.hour > 23 || time.minute > 59 || time.second > 59) return std::nullopt;
    }
    return FromCivil(time);
}

std::string IsoDate(Date moment) {
    const CivilTime time = ToCivil(moment);
    return Padded(time.year, 4) + '-' + Padded(time.month, 2) + '-' + Padded(time.day, 2);
}

std::string IsoTime(Date moment) {
    const CivilTime time = ToCivil(moment);
    return Padded(time.hour, 2) + ':' + Padded(time.minute, 2) + ':' + Padded(time.second, 2);
}

std::string CompactDate(Date moment) {
    const CivilTime time = ToCivil(moment);
    return Padded(time.year, 4) + Padded(time.month, 2) + Padded(time.day, 2);
}

double ToAutomationDate(Date moment) {
    const auto seconds = moment.secondsSince1970 - kZeroDay.secondsSince1970;
    const std::int64_t days = FloorDays({seconds});
    const double time = static_cast<double>(seconds - days * kSecondsPerDay) / kSecondsPerDay;
    return days < 0 ? static_cast<double>(days) - time : static_cast<double>(days) + time;
}

Date FromAutomationDate(double days) {
    const double whole = std::trunc(days);
    const double time = std::abs(days - whole);
    return {kZeroDay.secondsSince1970 + static_cast<std::int64_t>(whole) * kSecondsPerDay +
            std::llround(time * kSecondsPerDay)};
}

}  // namespace iqrx::platform
