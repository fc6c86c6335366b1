#include "platform/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace iqrx::platform {
namespace {

using namespace std::string_literals;

TEST(Ascii, EndsWithCode127WhereverTheByteStands) {
    EXPECT_TRUE(IsAscii(""));
    EXPECT_TRUE(IsAscii("\0\x7F"s));
    for (std::size_t length = 1; length < 40; ++length)
        for (std::size_t place = 0; place < length; ++place) {
            std::string text(length, '\x7F');
            EXPECT_TRUE(IsAscii(text));
            text[place] = '\x80';
            EXPECT_FALSE(IsAscii(text)) << length << ", " << place;
        }
}

TEST(Utf8, IsEveryTextOfWholeCharacters) {
    for (const std::string& text :
         {""s, "plain"s, "\0"s, "\xC2\x80"s, "\xDF\xBF"s, "\xE0\xA0\x80"s, "\xED\x9F\xBF"s, "\xEF\xBF\xBF"s,
          "\xF0\x90\x80\x80"s, "\xF4\x8F\xBF\xBF"s, "eight by\xC3\xA4 eight b\xC3\xA4"s})
        EXPECT_TRUE(IsUtf8(text)) << text;
}

TEST(Utf8, HasNoHalvesNoOverlongFormsAndNothingBeyondTheLastCharacter) {
    for (const std::string& text :
         {"K\xF6ln"s, "\x80"s, "a\xC3"s, "\xC3\xC3\xA4"s, "\xE2\x82"s, "\xF0\x9F\x94"s, "\xC0\x80"s,
          "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xF0\x8F\xBF\xBF"s, "\xED\xA0\x80"s, "\xF4\x90\x80\x80"s,
          "\xF8\x88\x80\x80\x80"s, "\xFE"s, "\xFF"s})
        EXPECT_FALSE(IsUtf8("eight by" + text)) << text;
}

}  // namespace
}  // namespace iqrx::platform
