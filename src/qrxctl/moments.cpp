#include "qrxctl/moments.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <cstdlib>

#include "platform/date.h"
#include "platform/number.h"

namespace iqrx::qrxctl {

namespace {

constexpr std::string_view kUnits = "smhd";
constexpr std::int64_t kSecondsOf[] = {1, 60, 3600, platform::kSecondsPerDay};

std::string WhatIsWrongWithSpan(const std::string& text) {
    return ParseSpan(text) ? "" : "\"" + text + "\" is not a span of time such as 90s, 30m, 8h or 7d";
}

std::string WhatIsWrongWithSpanOrDate(const std::string& text) {
    if (ParseSpan(text) || platform::ParseIsoDate(text)) return "";
    return "\"" + text + "\" is neither a span of time such as 8h or 7d, nor a day YYYY-MM-DD";
}

platform::Date LocalOf(const platform::Host& host, std::int64_t utc) {
    return host.LocalTime(std::chrono::system_clock::time_point(std::chrono::seconds(utc)));
}

}  // namespace

std::optional<std::int64_t> ParseSpan(std::string_view text) {
    constexpr std::int64_t kMost = 1'000'000;
    const std::size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
    if (unit == std::string_view::npos) return std::nullopt;
    const auto number = platform::NumberFrom<std::int64_t>(text.substr(0, text.size() - 1));
    if (!number || *number < 0 || *number > kMost) return std::nullopt;
    return *number * kSecondsOf[unit];
}

CLI::Validator SpanText() { return {WhatIsWrongWithSpan, "SPAN"}; }

CLI::Validator SpanOrDateText() { return {WhatIsWrongWithSpanOrDate, "SPAN|DAY"}; }

journal::Timestamp AtLocal(const platform::Host& host, platform::Date local) {
    constexpr std::int64_t kMinute = 60;
    journal::Timestamp moment{local, host.UtcOffsetMinutes()};
    const std::int64_t off =
        LocalOf(host, moment.Utc().secondsSince1970).secondsSince1970 - local.secondsSince1970;
    moment.offsetMinutes += static_cast<int>(off / kMinute);
    return moment;
}

std::int64_t SecondsBetween(const journal::Timestamp& from, const journal::Timestamp& to) {
    return to.Utc().secondsSince1970 - from.Utc().secondsSince1970;
}

platform::Date InZoneOf(const journal::Timestamp& moment, const journal::Timestamp& now) {
    return platform::AddMinutes(moment.Utc(), now.offsetMinutes);
}

std::string ZoneName(int offsetMinutes) {
    constexpr int kHour = 60;
    if (offsetMinutes == 0) return "UTC";
    const int minutes = std::abs(offsetMinutes);
    std::string name = fmt::format("UTC{}{}", offsetMinutes < 0 ? '-' : '+', minutes / kHour);
    return minutes % kHour == 0 ? name : name + fmt::format(":{:02}", minutes % kHour);
}

std::string ShortMoment(platform::Date moment, platform::Date now) {
    constexpr int kHalfAYear = 183;
    constexpr std::size_t kAfterYear = 5;
    const int days = platform::DaysBetween(moment, now);
    if (days == 0) return platform::IsoTime(moment).substr(0, kAfterYear);
    if (std::abs(days) > kHalfAYear) return platform::IsoDate(moment);
    return Minute(moment).substr(kAfterYear);
}

std::string Minute(platform::Date moment) {
    constexpr std::size_t kWithoutSeconds = std::string_view("2026-11-20 10:50").size();
    return platform::IsoDateTime(moment).substr(0, kWithoutSeconds);
}

}  // namespace iqrx::qrxctl
