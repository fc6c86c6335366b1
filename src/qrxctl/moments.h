// Moments and spans of time as the tool takes and shows them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "journal/timestamp.h"
#include "platform/host.h"

namespace CLI {
class Validator;
}

namespace iqrx::qrxctl {

// "90s", "30m", "8h", "7d" in seconds; nothing for any other text.
std::optional<std::int64_t> ParseSpan(std::string_view text);
CLI::Validator SpanText();
CLI::Validator SpanOrDateText();  // or "YYYY-MM-DD"

// A local moment with the offset that held then.
journal::Timestamp AtLocal(const platform::Host& host, platform::Date local);

std::int64_t SecondsBetween(const journal::Timestamp& from, const journal::Timestamp& to);

// The first moment as the clock showed it in the zone of the other.
platform::Date InZoneOf(const journal::Timestamp& moment, const journal::Timestamp& now);

// "UTC+1", "UTC-3:30", "UTC".
std::string ZoneName(int offsetMinutes);

// "10:50" of today, "11-20 10:50" of another day, "2025-06-20" of one that is more than half a year away.
std::string ShortMoment(platform::Date moment, platform::Date now);
std::string Minute(platform::Date moment);  // "2026-11-20 10:50"

}  // namespace iqrx::qrxctl
