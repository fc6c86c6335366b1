#include "platform/printable.h"

#include <algorithm>
#include <cmath>
#include <concepts>

#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::platform {

namespace {

void AppendCode(std::string& text, char c) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    const auto code = static_cast<unsigned char>(c);
    text.append("\\x").append({kHex[code >> 4U], kHex[code & 15U]});
}

// What stands in JSON as it is, of ASCII.
bool IsPlain(char c) { return c >= 0x20 && c != '"' && c != '\\' && static_cast<unsigned char>(c) < 0x80; }

void AppendAscii(std::string& json, char c) {
    constexpr std::string_view kEscaped = "\"\\\n\r\t", kLetters = "\"\\nrt", kHex = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(c);
    if (const auto place = kEscaped.find(c); place != std::string_view::npos)
        json.append({'\\', kLetters[place]});
    else if (code < 0x20)
        json.append("\\u00").append({kHex[code >> 4U], kHex[code & 15U]});
    else
        json += c;
}

struct ToJson {
    std::string (*dateText)(Date);

    std::string operator()(Boolean value) const { return value ? "true" : "false"; }
    std::string operator()(std::integral auto value) const { return ShortestText(value); }
    std::string operator()(std::floating_point auto value) const {
        return std::isfinite(value) ? ShortestText(value) : "null";
    }
    std::string operator()(Date value) const { return JsonText(dateText(value)); }
    std::string operator()(const std::string& value) const { return JsonText(value); }
    std::string operator()(const ObjectRef&) const { return "null"; }
    std::string operator()(Empty) const { return "null"; }
    std::string operator()(Null) const { return "null"; }
};

}  // namespace

std::string Printable(std::string_view text, std::size_t longest) {
    std::string printable;
    for (std::size_t characters = 0; !text.empty(); ++characters) {
        if (characters == longest) return printable += "...";
        const std::string_view rest = text;
        const char32_t character = TakeCharacter(text);
        const std::string_view bytes = rest.substr(0, rest.size() - text.size());
        const bool isMalformed = character >= 0x80 && bytes.size() == 1;
        if (isMalformed || character < 0x20 || character == 0x7F)
            AppendCode(printable, bytes.front());
        else
            printable += bytes;
    }
    return printable;
}

std::string OneLine(std::string_view text) {
    std::string line;
    for (const char c : text)
        if (c != '\r') line += c == '\n' ? ' ' : c;
    return line;
}

std::string Shown(const std::filesystem::path& path) { return Printable(Utf8(path)); }

std::string Quoted(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    return "'" + Printable(text, kLongest) + "'";
}

std::string JsonText(std::string_view text) {
    std::string json = "\"";
    json.reserve(text.size() + 2);
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(std::ranges::find_if_not(text, IsPlain) - text.begin());
        json.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        const char32_t character = TakeCharacter(text);
        if (character < 0x80)
            AppendAscii(json, static_cast<char>(character));
        else
            AppendCharacter(json, character);
    }
    return json += '"';
}

std::string JsonValue(const Value& value, std::string (*dateText)(Date)) {
    return std::visit(ToJson{dateText}, static_cast<const Value::variant&>(value));
}

}  // namespace iqrx::platform
