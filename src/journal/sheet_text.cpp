#include "journal/sheet_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "journal/flat_json.h"

namespace iqrx::journal {

namespace {

struct Lines {
    explicit Lines(std::string_view text) : sheet(text.substr(0, text.find('\n'))) {
        if (sheet.size() < text.size()) sheet = text.substr(0, sheet.size() + 1);
        sign = text.substr(sheet.size());
    }
    std::string_view sheet, sign;  // with their line breaks
};

// Two signs of one sheet differ in bytes, not in length, and whoever reads between them finds that the check
// fits neither. The check covers the sheet, too: a sign that a former holder has left is not the next one's.
std::uint64_t CheckOf(std::string_view sheet, std::string_view sign) {
    constexpr std::uint64_t kBegin = 14695981039346656037U, kPrime = 1099511628211U;  // FNV-1a
    std::uint64_t check = kBegin;
    for (const std::string_view text : {sheet, sign})
        for (const char byte : text) check = (check ^ static_cast<unsigned char>(byte)) * kPrime;
    return check;
}

std::string Padded(const std::string& text, std::size_t width, char with) {
    return std::string(width - std::min(width, text.size()), with) + text;
}

std::string Hexadecimal(std::uint64_t number) {
    constexpr int kBase = 16;
    std::array<char, kBase> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number, kBase).ptr;
    return Padded({digits.begin(), end}, digits.size(), '0');
}

void Set(SheetText& sheet, std::string_view key, std::string_view value) {
    std::string* const member = key == "run"        ? &sheet.run
                                : key == "program"  ? &sheet.program
                                : key == "method"   ? &sheet.method
                                : key == "since"    ? &sheet.since
                                : key == "user"     ? &sheet.by.user
                                : key == "host"     ? &sheet.by.host
                                : key == "terminal" ? &sheet.by.terminal
                                                    : nullptr;
    if (member != nullptr) member->assign(value);
}

SheetText ReadSheetText(const std::string& table, std::string_view text) {
    SheetText sheet;
    sheet.table = table;
    ReadObject(text, [&](std::string_view key, const Scalar& value) {
        if (const auto* words = std::get_if<std::string_view>(&value)) Set(sheet, key, *words);
        if (const auto* number = std::get_if<std::int64_t>(&value); number != nullptr && key == "pid")
            sheet.by.pid = static_cast<long>(*number);
        if (key == "waits") sheet.waits = true;
    });
    return sheet;
}

// Nothing for a sign that is half written.
std::optional<SignOfLife> ReadSign(std::string_view sheet, std::string_view line) {
    SignOfLife sign;
    ReadObject(line, [&](std::string_view key, const Scalar& value) {
        const auto* number = std::get_if<std::int64_t>(&value);
        const auto* words = std::get_if<std::string_view>(&value);
        if (number && key == "rows") sign.rows = *number;
        if (number && key == "milliseconds") sign.milliseconds = *number;
        if (words && key == "at") sign.at = *words;
    });
    if (line != TextOf(sign, sheet)) return std::nullopt;
    return sign;
}

}  // namespace

std::string TextOf(const SheetText& sheet) {
    nlohmann::ordered_json text{{"schema", 1},
                                {"table", sheet.table},
                                {"run", sheet.run},
                                {"program", sheet.program},
                                {"method", sheet.method},
                                {"since", sheet.since},
                                {"pid", sheet.by.pid},
                                {"user", sheet.by.user},
                                {"host", sheet.by.host},
                                {"terminal", sheet.by.terminal}};
    if (sheet.waits) text["waits"] = "for the table's lock";
    return text.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

std::string TextOf(const SignOfLife& sign, std::string_view sheetText) {
    constexpr std::size_t kWidth = 15;
    const std::string line = R"({"rows":)" + Padded(std::to_string(sign.rows), kWidth, ' ') +
                             R"(,"milliseconds":)" + Padded(std::to_string(sign.milliseconds), kWidth, ' ') +
                             R"(,"at":")" + sign.at + R"(","check":")";
    return line + Hexadecimal(CheckOf(sheetText, line)) + "\"}\n";
}

SheetState ReadSheet(const std::string& table, std::string_view text) {
    const Lines lines(text);
    return {Holder::Living, ReadSheetText(table, lines.sheet), ReadSign(lines.sheet, lines.sign)};
}

bool HasUnreadSign(const SheetState& state, std::string_view text) {
    return !state.sign && !Lines(text).sign.empty();
}

}  // namespace iqrx::journal
