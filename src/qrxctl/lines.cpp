#include "qrxctl/lines.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/text.h"
#include "qrxctl/terminal.h"

namespace iqrx::qrxctl {

namespace {

constexpr std::size_t kWordWidth = 9, kSubjectWidth = 10;

static_assert(kWordWidth + kSubjectWidth + kFactWidth == kColumns);

// A command's first word; what stands in double quotes is not broken.
std::string_view TakeWord(std::string_view& command) {
    std::size_t end = 0;
    for (bool isQuoted = false; end < command.size() && (isQuoted || command[end] != ' '); ++end)
        if (command[end] == '"') isQuoted = !isQuoted;
    const std::string_view word = command.substr(0, end);
    command.remove_prefix(std::min(command.find_first_not_of(' ', end), command.size()));
    return word;
}

}  // namespace

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

std::string InGroups(std::string_view text) {
    std::string grouped;
    while (!text.empty()) {
        const auto digits = std::ranges::find_if_not(text, platform::IsDigit) - text.begin();
        if (digits == 0) {
            grouped += text.front();
            text.remove_prefix(1);
            continue;
        }
        for (auto left = digits; left > 0; --left) {
            grouped += text.front();
            text.remove_prefix(1);
            if (left > 1 && left % 3 == 1) grouped += ',';
        }
    }
    return grouped;
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

std::string Detail(std::string_view word, std::string_view text) {
    constexpr std::size_t kWidth = 10;
    return fmt::format("{:<{}}{}\n", word, kWidth, text.empty() ? "-" : Wrapped(text, kWidth));
}

std::string NextStep(std::string_view command) {
    constexpr std::string_view kArrow = "-> ";
    std::string lines = std::string(kWordWidth, ' ').append(kArrow);
    const std::size_t indent = lines.size() + 2;
    if (lines.size() + command.size() <= kColumns) return lines.append(command) + '\n';
    const std::string goesOn = {' ', LineGoesOn()};
    std::size_t column = lines.size();
    while (!command.empty()) {
        const std::string_view word = TakeWord(command);
        const bool isFirst = lines.ends_with(kArrow);
        if (!isFirst && column + 1 + word.size() + goesOn.size() > kColumns) {
            lines += goesOn + '\n' + std::string(indent, ' ');
            column = indent;
        } else if (!isFirst) {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines + '\n';
}

std::string NoteOf(std::string_view subject, std::string_view problem) {
    const std::string step = StepAfter(problem);
    return Fact("note", subject, problem) + (step.empty() ? step : NextStep(step));
}

std::string Complaint(std::string_view text) {
    constexpr std::string_view kName = "qrxctl: ";
    return std::string(kName) + Wrapped(text, kName.size()) + '\n';
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
