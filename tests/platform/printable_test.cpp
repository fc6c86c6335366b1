#include "platform/printable.h"

#include <gtest/gtest.h>

namespace iqrx::platform {
namespace {

using namespace std::string_literals;

TEST(Printable, ShowsControlCharactersAndBytesThatAreNotUtf8AsTheirCodes) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"Advice, 'by' \"telephone\" ~", "Advice, 'by' \"telephone\" ~"},
        {"one\r\ntwo\tthree", "one\\x0D\\x0Atwo\\x09three"},
        {"\0\x01\x1F\x20\x7E\x7F"s, "\\x00\\x01\\x1F ~\\x7F"},
        {"\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x94\xA7", "\xC3\xA4 \xE2\x82\xAC \xF0\x9F\x94\xA7"},
        {"\xC2\x80 \xDF\xBF \xE0\xA0\x80 \xEF\xBF\xBD \xF4\x8F\xBF\xBF",
         "\xC2\x80 \xDF\xBF \xE0\xA0\x80 \xEF\xBF\xBD \xF4\x8F\xBF\xBF"},
        {"K\xF6ln", "K\\xF6ln"},                        // another encoding
        {"\x80", "\\x80"},                              // begins in the middle of a character
        {"a\xC3", "a\\xC3"},                            // ends in the middle of one
        {"\xE2\x82\xC3\xA4", "\\xE2\\x82\xC3\xA4"},     // goes on with the next one
        {"\xC0\xAF", "\\xC0\\xAF"},                     // longer than it need be
        {"\xE0\x9F\xBF", "\\xE0\\x9F\\xBF"},            // the same in three bytes
        {"\xED\xA0\x80", "\\xED\\xA0\\x80"},            // half of a pair
        {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},   // beyond the last character
        {"\xFF\xFE\x41"s + "\0"s, "\\xFF\\xFEA\\x00"},  // UTF-16
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Printable(text), expected);
}

TEST(Printable, IsCutAfterSoManyWholeCharacters) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"abc", "abc"},
        {"abcd", "abc..."},
        {"\xC3\xA4\xC3\xB6\xC3\xBC", "\xC3\xA4\xC3\xB6\xC3\xBC"},
        {"\xC3\xA4\xF0\x9F\x94\xA7\xE2\x82\xAC\xC3\xB6", "\xC3\xA4\xF0\x9F\x94\xA7\xE2\x82\xAC..."},
        {"\r\n\xFF", "\\x0D\\x0A\\xFF"},
        {"\r\n\xFFx", "\\x0D\\x0A\\xFF..."},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Printable(text, 3), expected);
    EXPECT_EQ(Printable("abc", 0), "...");
    EXPECT_EQ(Printable(std::string(101, 'x'), 100), std::string(100, 'x') + "...");
}

}  // namespace
}  // namespace iqrx::platform
