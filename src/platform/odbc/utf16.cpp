#include "platform/odbc/utf16.h"

#include <array>
#include <cstdint>

namespace iqrx::platform::odbc {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Reads one character and moves `position` behind it; a malformed byte alone becomes the replacement.
char32_t ReadUtf8(std::string_view text, std::size_t& position) {
    const auto lead = static_cast<std::uint8_t>(text[position++]);
    if (lead < 0x80) return lead;
    const int following = lead >= 0xF0 && lead <= 0xF4   ? 3
                          : lead >= 0xE0 && lead <= 0xEF ? 2
                          : lead >= 0xC2 && lead <= 0xDF ? 1
                                                         : 0;
    if (following == 0 || position + following > text.size()) return kReplacement;
    char32_t character = lead & (0x3F >> following);
    for (int i = 0; i < following; ++i) {
        const auto next = static_cast<std::uint8_t>(text[position + i]);
        if ((next & 0xC0) != 0x80) return kReplacement;
        character = character << 6 | (next & 0x3F);
    }
    constexpr std::array<char32_t, 4> kSmallest{0, 0x80, 0x800, 0x10000};
    const bool surrogate = IsHighSurrogate(character) || IsLowSurrogate(character);
    if (character < kSmallest[following] || character > 0x10FFFF || surrogate) return kReplacement;
    position += following;
    return character;
}

void AppendUtf8(std::string& text, char32_t character) {
    const auto follow = [&](int shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        follow(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | character >> 12);
        follow(6);
        follow(0);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        follow(12);
        follow(6);
        follow(0);
    }
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string utf16;
    utf16.reserve(utf8.size());
    for (std::size_t position = 0; position < utf8.size();) {
        if (static_cast<std::uint8_t>(utf8[position]) < 0x80) {
            utf16 += static_cast<char16_t>(utf8[position++]);
            continue;
        }
        const char32_t character = ReadUtf8(utf8, position);
        if (character < 0x10000) {
            utf16 += static_cast<char16_t>(character);
        } else {
            utf16 += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            utf16 += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
        }
    }
    return utf16;
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string utf8;
    utf8.reserve(utf16.size());
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        char32_t character = utf16[i];
        if (IsHighSurrogate(character) && i + 1 < utf16.size() && IsLowSurrogate(utf16[i + 1]))
            character = 0x10000 + ((character - 0xD800) << 10) + (utf16[++i] - 0xDC00);
        else if (IsHighSurrogate(character) || IsLowSurrogate(character))
            character = kReplacement;
        AppendUtf8(utf8, character);
    }
    return utf8;
}

}  // namespace iqrx::platform::odbc
