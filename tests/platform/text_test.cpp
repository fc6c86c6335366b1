#include "platform/text.h"

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

TEST(Texts, AreTrimmedOfBlanksAtBothEnds) {
    struct Case {
        std::string_view text, trimmed, trimmedOfBlanksOnly;
    };
    for (const auto& [text, trimmed, trimmedOfBlanksOnly] :
         {Case{"", "", ""}, Case{"a", "a", "a"}, Case{"   ", "", ""}, Case{" a  b ", "a  b", "a  b"},
          Case{"\t a\r\n", "a", "\t a\r\n"}, Case{" \u00a0 ", "\u00a0", "\u00a0"}}) {
        EXPECT_EQ(Trim(text), trimmed);
        EXPECT_EQ(Trim(text, " "), trimmedOfBlanksOnly);
    }
}

TEST(Letters, AreThoseOfAsciiWhateverTheLocale) {
    struct Case {
        std::string_view text, lower, upper;
    };
    for (const auto& [text, lower, upper] :
         {Case{"", "", ""}, Case{"Tssoc200", "tssoc200", "TSSOC200"},
          Case{"@AZ[`az{", "@az[`az{", "@AZ[`AZ{"}, Case{"\u00c4\u00e4", "\u00c4\u00e4", "\u00c4\u00e4"}}) {
        EXPECT_EQ(Lower(text), lower);
        EXPECT_EQ(Upper(text), upper);
        EXPECT_TRUE(EqualIgnoringCase(lower, upper));
    }
    EXPECT_FALSE(EqualIgnoringCase("a", "ab"));
    EXPECT_FALSE(EqualIgnoringCase("\u00c4", "\u00e4"));
    EXPECT_FALSE(EqualIgnoringCase("@", "`"));
}

TEST(Characters, AreTakenOffATextOneByOne) {
    struct Case {
        std::string_view text;
        std::u32string characters;
    };
    for (const auto& [text, characters] :
         {Case{"a\u00e9\u6771\U0001F600", U"a\u00e9\u6771\U0001F600"}, Case{"\uFFFD", U"\uFFFD"},
          Case{"\x80\xE2\x82", U"\uFFFD\uFFFD\uFFFD"}, Case{"\xE2\x82z", U"\uFFFD\uFFFDz"},
          Case{"\xC0\x80", U"\uFFFD\uFFFD"}, Case{"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},
          Case{"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"}}) {
        std::u32string taken;
        for (std::string_view rest = text; !rest.empty();) taken += TakeCharacter(rest);
        EXPECT_EQ(taken, characters) << text;
    }
}

TEST(Paths, KeepTheirCharactersBothWays) {
    const std::string text = "exports/K\u00f6ln \u6771/t.csv";
    EXPECT_EQ(Utf8(Path(text)), text);
    EXPECT_EQ(Path(text).parent_path().filename(), std::filesystem::path(u8"K\u00f6ln \u6771"));
}

TEST(Utf16, KeepsEveryCharacterBothWays) {
    const std::string text = "a\u00e9\u07ff\u0800\u6771\uffff\U00010000\U0001F600\U0010FFFF";

    EXPECT_EQ(ToUtf16(text), u"a\u00e9\u07ff\u0800\u6771\uffff\U00010000\U0001F600\U0010FFFF");
    EXPECT_EQ(ToUtf8(ToUtf16(text)), text);
}

TEST(Utf16, ReplacesWhatIsMalformed) {
    EXPECT_EQ(ToUtf16("a\x80z"), u"a\uFFFDz");
    EXPECT_EQ(ToUtf16("a\xC3"), u"a\uFFFD");
    EXPECT_EQ(ToUtf16("\xC0\x80"), u"\uFFFD\uFFFD") << "a longer form of a shorter character";
    EXPECT_EQ(ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD") << "half of a pair";
    EXPECT_EQ(ToUtf8(std::u16string{u'a', char16_t(0xD83D), u'z'}), "a\uFFFDz");
    EXPECT_EQ(ToUtf8(std::u16string{char16_t(0xDE00)}), "\uFFFD");
}

}  // namespace
}  // namespace iqrx::platform
