// Texts as bytes of UTF-8. Letters are those of ASCII, whatever the locale; what is malformed on one side of
// a conversion comes out as U+FFFD on the other, byte by byte.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace iqrx::platform {

inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Without the blanks at both ends.
constexpr std::string_view Trim(std::string_view text, std::string_view blanks = " \t\r\n") {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
// Whether the text has a digit for each 0 of the form and the form's other characters where they are.
bool HasForm(std::string_view text, std::string_view form);

std::string Lower(std::string_view text);
std::string Upper(std::string_view text);
bool EqualIgnoringCase(std::string_view left, std::string_view right);

bool IsAscii(std::string_view text);
bool IsUtf8(std::string_view text);  // quick where it is ASCII

// Takes the character off the text that begins with it; of a text that begins with none one byte, for U+FFFD.
char32_t TakeCharacter(std::string_view& text);
void AppendCharacter(std::string& text, char32_t character);

std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view utf16);

std::string Utf8(const std::filesystem::path& path);
std::filesystem::path Path(std::string_view utf8);

}  // namespace iqrx::platform
