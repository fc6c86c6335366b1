#include "platform/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>

namespace iqrx::platform {

namespace {

// The length of the UTF-8 sequence that the text begins with; 0 when it is none.
std::size_t SequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) -> unsigned {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && byte(1) < 0xA0, surrogate = first == 0xED && byte(1) > 0x9F;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && byte(1) < 0x90, beyond = first == 0xF4 && byte(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

void AppendCharacter(std::string& json, char c) {
    constexpr std::string_view kHex = "0123456789abcdef";
    switch (c) {
        case '"':
            json += "\\\"";
            return;
        case '\\':
            json += "\\\\";
            return;
        case '\n':
            json += "\\n";
            return;
        case '\r':
            json += "\\r";
            return;
        case '\t':
            json += "\\t";
            return;
        default:
            break;
    }
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20) {
        json += "\\u00";
        json += kHex[code >> 4];
        json += kHex[code & 15];
    } else {
        json += c;
    }
}

template <class Number>
std::string JsonNumber(Number number) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

struct ToJson {
    std::string (*dateText)(Date);

    std::string operator()(Boolean value) const { return value ? "true" : "false"; }
    std::string operator()(std::integral auto value) const { return JsonNumber(value); }
    std::string operator()(std::floating_point auto value) const {
        return std::isfinite(value) ? JsonNumber(value) : "null";
    }
    std::string operator()(Date value) const { return JsonText(dateText(value)); }
    std::string operator()(const std::string& value) const { return JsonText(value); }
    std::string operator()(const ObjectRef&) const { return "null"; }
    std::string operator()(Empty) const { return "null"; }
    std::string operator()(Null) const { return "null"; }
};

}  // namespace

std::string JsonText(std::string_view text) {
    std::string json = "\"";
    json.reserve(text.size() + 2);
    while (!text.empty()) {
        const std::size_t length = SequenceLength(text);
        if (length == 1)
            AppendCharacter(json, text.front());
        else if (length == 0)
            json += "\xEF\xBF\xBD";
        else
            json += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return json += '"';
}

std::string JsonValue(const Value& value, std::string (*dateText)(Date)) {
    return std::visit(ToJson{dateText}, static_cast<const Value::variant&>(value));
}

}  // namespace iqrx::platform
