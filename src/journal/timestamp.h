// Moments as the journal writes them: RFC 3339, local time with its offset from Greenwich.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::journal {

struct Timestamp {
    platform::Date local;
    int offsetMinutes = 0;  // 60 an hour east of Greenwich

    // The same moment in Greenwich: what two of them are compared by.
    platform::Date Utc() const { return {local.secondsSince1970 - offsetMinutes * std::int64_t{60}}; }
};

std::string Rfc3339(const Timestamp& moment);  // "2026-11-21T10:40:32+01:00"
// "Z" and a fraction of a second, which is dropped, are understood, too; nothing for any other text.
std::optional<Timestamp> ParseRfc3339(std::string_view text);

}  // namespace iqrx::journal
