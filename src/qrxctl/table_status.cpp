#include "qrxctl/table_status.h"

#include "qrxctl/moments.h"

namespace iqrx::qrxctl {

std::optional<journal::Timestamp> BeganAt(const std::optional<journal::RunEntry>& entry) {
    if (!entry) return std::nullopt;
    const auto began = journal::ParseRfc3339(entry->began);
    return began ? began : journal::ParseRfc3339(entry->ended);
}

std::optional<std::int64_t> SecondsHeld(const TableStatus& status, const journal::Timestamp& now) {
    const auto since = journal::ParseRfc3339(status.holder.since);
    if (!since) return std::nullopt;
    return std::max<std::int64_t>(0, SecondsBetween(*since, now));
}

std::optional<std::int64_t> SecondsSinceSign(const std::optional<journal::SignOfLife>& sign,
                                             const journal::Timestamp& now) {
    const auto at = sign ? journal::ParseRfc3339(sign->at) : std::nullopt;
    if (!at) return std::nullopt;
    return std::max<std::int64_t>(0, SecondsBetween(*at, now));
}

std::int64_t RowsPerSecond(const journal::SignOfLife& sign) {
    constexpr std::int64_t kSecond = 1000;
    return sign.milliseconds > 0 ? sign.rows * kSecond / sign.milliseconds : 0;
}

std::int64_t GapSeconds(const TableStatus& status) {
    std::int64_t seconds = 0;
    if (status.read)
        for (const journal::Stretch& gap : status.read->gaps)
            seconds += gap.to.secondsSince1970 - gap.from.secondsSince1970;
    return seconds;
}

}  // namespace iqrx::qrxctl
