#include "qrxctl/lines.h"

#include <fmt/format.h>

#include <algorithm>

namespace iqrx::qrxctl {

namespace {
constexpr std::size_t kWordWidth = 9, kSubjectWidth = 10;
}

std::string Wrapped(std::string_view text, std::size_t indent) {
    std::string lines;
    std::size_t column = indent;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!lines.empty() && column + 1 + word.size() > kColumns) {
            lines += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (!lines.empty()) {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines;
}

std::string Grouped(std::int64_t number) {
    std::string digits = std::to_string(number);
    const std::size_t first = number < 0 ? 1 : 0;
    for (std::size_t i = digits.size(); i > first + 3; i -= 3) digits.insert(i - 3, ",");
    return digits;
}

std::string Seconds(double seconds) { return fmt::format("{:.2f}", seconds); }

std::string Duration(std::int64_t seconds) {
    constexpr std::int64_t kMinute = 60, kHour = 60 * kMinute, kDay = 24 * kHour;
    if (seconds < kMinute) return fmt::format("{} s", seconds);
    if (seconds < 2 * kHour) return fmt::format("{} m", seconds / kMinute);
    if (seconds < 2 * kDay) return fmt::format("{:.1f} h", static_cast<double>(seconds) / kHour);
    return fmt::format("{} d", seconds / kDay);
}

std::string Fact(std::string_view word, std::string_view subject, std::string_view text) {
    const std::string head = fmt::format("{:<{}}{:<{}}", word, kWordWidth, subject, kSubjectWidth);
    return head + Wrapped(text, head.size()) + '\n';
}

std::string NextStep(std::string_view command) {
    return fmt::format("{:{}}-> {}\n", "", kWordWidth, command);
}

std::string Counted(std::int64_t number, std::string_view thing) {
    return fmt::format("{} {}{}", Grouped(number), thing, number == 1 ? "" : "s");
}

std::string Some(const std::vector<std::string>& names) {
    constexpr std::size_t kMost = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(kMost, names.size()); ++i) text += (i > 0 ? ", " : "") + names[i];
    return names.size() > kMost ? fmt::format("{} and {} more", text, names.size() - kMost) : text;
}

}  // namespace iqrx::qrxctl
