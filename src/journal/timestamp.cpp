#include "journal/timestamp.h"

#include <cstdlib>

#include "platform/date.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

std::string TwoDigits(int number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

int Number(std::string_view digits) { return (digits[0] - '0') * 10 + digits[1] - '0'; }

// "+01:00", "-05:30" or "Z".
std::optional<int> OffsetMinutes(std::string_view text) {
    if (text == "Z" || text == "z") return 0;
    const bool formed = platform::HasForm(text, "+00:00") || platform::HasForm(text, "-00:00");
    if (!formed || Number(text.substr(1)) > 23 || Number(text.substr(4)) > 59) return std::nullopt;
    const int minutes = Number(text.substr(1)) * 60 + Number(text.substr(4));
    return text[0] == '-' ? -minutes : minutes;
}

}  // namespace

std::string Rfc3339(const Timestamp& moment) {
    const int minutes = std::abs(moment.offsetMinutes);
    return platform::IsoDate(moment.local) + 'T' + platform::IsoTime(moment.local) +
           (moment.offsetMinutes < 0 ? '-' : '+') + TwoDigits(minutes / 60) + ':' + TwoDigits(minutes % 60);
}

std::optional<Timestamp> ParseRfc3339(std::string_view text) {
    constexpr std::size_t kSeconds = std::string_view("2026-11-21T10:40:32").size(), kT = 10;
    if (text.size() <= kSeconds || (text[kT] != 'T' && text[kT] != 't')) return std::nullopt;
    std::string local(text.substr(0, kSeconds));
    local[kT] = ' ';
    std::size_t end = kSeconds;
    if (text[end] == '.') {
        do ++end;
        while (end < text.size() && platform::IsDigit(text[end]));
        if (end == kSeconds + 1) return std::nullopt;
    }
    const auto date = platform::ParseIsoDate(local);
    const auto offset = OffsetMinutes(text.substr(end));
    if (!date || !offset) return std::nullopt;
    return Timestamp{*date, *offset};
}

}  // namespace iqrx::journal
