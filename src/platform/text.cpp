#include "platform/text.h"

#include <utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace iqrx::platform {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

char LowerLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char UpperLetter(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string Mapped(std::string_view text, char (*letter)(char)) {
    std::string mapped(text);
    std::ranges::transform(mapped, mapped.begin(), letter);
    return mapped;
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

char32_t TakeCharacter(std::u16string_view& text) {
    const char16_t unit = text.front();
    text.remove_prefix(1);
    if (!IsHighSurrogate(unit)) return IsLowSurrogate(unit) ? kReplacement : unit;
    if (text.empty() || !IsLowSurrogate(text.front())) return kReplacement;
    const char32_t character = 0x10000 + ((unit - 0xD800U) << 10U) + (text.front() - 0xDC00U);
    text.remove_prefix(1);
    return character;
}

}  // namespace

bool HasForm(std::string_view text, std::string_view form) {
    return std::ranges::equal(text, form,
                              [](char c, char wanted) { return wanted == '0' ? IsDigit(c) : c == wanted; });
}

std::string Lower(std::string_view text) { return Mapped(text, LowerLetter); }

std::string Upper(std::string_view text) { return Mapped(text, UpperLetter); }

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, LowerLetter, LowerLetter);
}

// Eight bytes at a time, since it is asked of all that is read.
bool IsAscii(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::uint64_t seen = 0;
    for (; text.size() >= sizeof seen; text.remove_prefix(sizeof seen)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        seen |= eight;
    }
    for (const char c : text) seen |= static_cast<unsigned char>(c);
    return (seen & kHighBits) == 0;
}

bool IsUtf8(std::string_view text) {
    return IsAscii(text) || utf8::find_invalid(text) == std::string_view::npos;
}

char32_t TakeCharacter(std::string_view& text) {
    constexpr std::size_t kLongest = 4;
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80 || utf8::find_invalid(text.substr(0, kLongest)) == 0) {
        text.remove_prefix(1);
        return lead < 0x80 ? lead : kReplacement;
    }
    const char* next = text.data();
    const char32_t character = utf8::unchecked::next(next);
    text.remove_prefix(static_cast<std::size_t>(next - text.data()));
    return character;
}

void AppendCharacter(std::string& text, char32_t character) {
    utf8::unchecked::append(character, std::back_inserter(text));
}

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    while (!utf8.empty()) {
        const char32_t character = TakeCharacter(utf8);
        if (character >= 0x10000) utf16 += static_cast<char16_t>(0xD7C0 + (character >> 10U));
        utf16 += static_cast<char16_t>(character < 0x10000 ? character : 0xDC00 + (character & 0x3FFU));
    }
    return utf16;
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    while (!utf16.empty()) AppendCharacter(utf8, TakeCharacter(utf16));
    return utf8;
}

std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path Path(std::string_view utf8) { return std::u8string(utf8.begin(), utf8.end()); }

}  // namespace iqrx::platform
