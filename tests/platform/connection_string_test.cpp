#include "platform/connection_string.h"

#include <gmock/gmock.h>

#include <array>

#include "platform/error.h"

namespace iqrx::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(ConnectionStrings, FindKeysWhateverTheirCase) {
    const ConnectionString text("Provider=SQLite; data SOURCE = /tmp/a b.db ;");
    EXPECT_EQ(text.Find("provider"), "SQLite");
    EXPECT_EQ(text.Find("Data Source"), "/tmp/a b.db");
    EXPECT_FALSE(text.Has("Driver"));
}

TEST(ConnectionStrings, TakeValuesInQuotesAndBraces) {
    const ConnectionString text(R"(A="x;y";B={p;q};C="say ""hi""";D={a}}b};E=)");
    EXPECT_EQ(text.Find("A"), "x;y");
    EXPECT_EQ(text.Find("B"), "p;q");
    EXPECT_EQ(text.Find("C"), "say \"hi\"");
    EXPECT_EQ(text.Find("D"), "a}b");
    EXPECT_EQ(text.Find("E"), "");
}

TEST(ConnectionStrings, HandValuesThatStoodInQuotesOrBracesToADriverInBraces) {
    EXPECT_EQ(ConnectionString(R"(A="x;y";B={p;q};C="say ""hi""";D={a}}b};E=)").Text(),
              R"(A={x;y};B={p;q};C={say "hi"};D={a}}b};E=;)");
    EXPECT_EQ(ConnectionString("Pwd={ x };Uid=a{b;Database= y ").Text(), "Pwd={ x };Uid={a{b};Database=y;");
    EXPECT_EQ(ConnectionString(R"(Pwd=" x";Driver={FreeTDS})").Text(), "Pwd={ x};Driver={FreeTDS};");
}

std::string ErrorOf(const std::string& text) {
    try {
        ConnectionString read(text);
        return "";
    } catch (const RuntimeError& error) {
        return error.description;
    }
}

TEST(ConnectionStrings, NameTheKeyAndThePlaceOfWhatTheyCannotRead) {
    EXPECT_THAT(ErrorOf("nonsense"), HasSubstr("connection string, KEY=VALUE expected at character 1"));
    EXPECT_THAT(ErrorOf("A=1; nonsense;B=2"), HasSubstr("KEY=VALUE expected at character 6"));
    EXPECT_THAT(ErrorOf("A=1;User Id={open"),
                HasSubstr("the value of User Id that begins at character 13 is not closed"));
    EXPECT_THAT(ErrorOf("UID=\"x\" y"), HasSubstr("text after the closed value of UID at character 9"));
    EXPECT_THAT(ErrorOf("A=\u00fc\u00fc;B"), HasSubstr("character 6")) << "bytes are not characters";
}

TEST(ConnectionStrings, NeverShowWhatTheyCannotReadSinceItMayBePartOfAPassword) {
    for (const char* text :
         {"Uid=u;Pwd=a;SECRET", "Uid=u;Pwd=a;SECRET;Database=x", "Pwd={SECRET", "Pwd=\"SECRET",
          "Pwd={a}SECRET", "Pwd=\"a\"SECRET", "Pwd=\"a\" SECRET;B=c", "Pwd=a;SECRET!={b", "Pwd=a;SECRET={b",
          "Pwd=a;SECRET={b}c", "Pwd=a;SECRET\u00fc=\"b"}) {
        EXPECT_NE(ErrorOf(text), "") << text;
        EXPECT_THAT(ErrorOf(text), Not(HasSubstr("SECRET"))) << text;
    }
}

TEST(MaskedTexts, ShowEverythingButTheSecret) {
    EXPECT_EQ(Masked("Driver=FreeTDS;Server=h;Uid=u;Pwd=SECRET;Database=d"),
              "Driver=FreeTDS;Server=h;Uid=u;Pwd=***;Database=d");
    EXPECT_EQ(Masked("PASSWORD = SECRET; data source = f"), "PASSWORD =***; data source = f");
    EXPECT_EQ(Masked("Uid=u;Pwd=SECRET"), "Uid=u;Pwd=***");
    EXPECT_EQ(Masked("Uid=u;Pwd="), "Uid=u;Pwd=***");
    EXPECT_EQ(Masked("Uid=u;Pwd=SECRET;Rows per Trip=100"), "Uid=u;Pwd=***;Rows per Trip=100");
    EXPECT_EQ(Masked("Pwd={SEC;RET};Uid=u"), "Pwd=***;Uid=u");
    EXPECT_EQ(Masked("Pwd= \"SEC\"\";RET\" ;Uid=u"), "Pwd=***;Uid=u");
    EXPECT_EQ(Masked("Pwd={SEC}}RET};Uid={a;b}"), "Pwd=***;Uid={a;b}");
    EXPECT_EQ(Masked("Pwd=SECRET;New Password=SECRET;Access Token=SECRET;Port=1"),
              "Pwd=***;New Password=***;Access Token=***;Port=1");
    EXPECT_EQ(Masked("Provider=SQLite;Data Source=/passwords/f"), "Provider=SQLite;Data Source=/passwords/f");
    EXPECT_EQ(Masked(""), "");
}

TEST(MaskedTexts, ShowTheOtherArgumentsOfACommandLine) {
    EXPECT_EQ(Masked("DSN=d;Uid=u;Pwd=SECRET{}db{}2{}1{}/log{}extract=/e{}0"),
              "DSN=d;Uid=u;Pwd=***{}db{}2{}1{}/log{}extract=/e{}0");
    EXPECT_EQ(Masked("DSN=d;Pwd={SEC;RET}{}{}12"), "DSN=d;Pwd=***{}{}12");
    EXPECT_EQ(Masked("DSN=d;Pwd=SECRET;Uid=u{}db{}2{}1"), "DSN=d;Pwd=***;Uid=u{}db{}2{}1");
    EXPECT_EQ(Masked("DSN=d;Pwd={}db{}2{}1"), "DSN=d;Pwd=***{}db{}2{}1");
    EXPECT_EQ(Masked("Provider=SQLite;Data Source=f{}{}2{}1"), "Provider=SQLite;Data Source=f{}{}2{}1");
}

TEST(MaskedTexts, HideEverythingToTheEndWhereTheSecretsEndIsInDoubt) {
    for (const char* text : {"Uid=u;Pwd={SECRET",
                             "Uid=u;Pwd=\"SECRET",
                             "Uid=u;Pwd={SECRET;Database=x",
                             "Uid=u;Pwd={a}SECRET",
                             "Uid=u;Pwd={a}}SECRET",
                             "Uid=u;Pwd=\"a\"SECRET\"",
                             "Uid=u;Pwd=\"a\" SECRET;Database=x",
                             "Uid=u;Pwd=a;SECRET",
                             "Uid=u;Pwd=a;SECRET;Database=x",
                             "Uid=u;Pwd=a;SECRET=b;Database=x",
                             "Uid=u;Pwd=a;SECRET passage=b;Database=x",
                             "Uid=u;Pwd=a;Database=x;SECRET",
                             "Uid=u;Pwd=a;Database=\"x;SECRET",
                             "Uid=u;Pwd=a=SECRET",
                             "Uid=u;Pwd={a};SECRET",
                             "Uid=u;Pwd=a;;SECRET;",
                             "Uid=u;Pwd=a{}SECRET",
                             "Uid=u;Pwd=a{}SECRET;Uid=x",
                             "Uid=u;Pwd=a{}SECRET{}db{}2{}1",
                             "Uid=u;Pwd=a{}SECRET=2{}2{}1",
                             "Uid=u;Pwd={a{}SECRET{}db{}2",
                             "Uid=u;Pwd=a;SECRET{}db{}2{}1",
                             "Uid=u;Pwd=a\nSECRET",
                             "Uid=u;Pwd=Pwd=SECRET",
                             "Uid=u;Pwd=a;Database={x}SECRET"}) {
        EXPECT_THAT(Masked(text), StartsWith("Uid=u;Pwd=***")) << text;
        EXPECT_THAT(Masked(text), Not(HasSubstr("SECRET"))) << text;
    }
}

// Every password of four of these parts, at the end, before another key and before further arguments.
TEST(MaskedTexts, NeverShowAPartOfThePassword) {
    const std::array<std::string, 9> parts{"SECRET", ";", "{", "}", "{}", "\"", "=", " ", "a"};
    for (std::size_t number = 0; number < 9 * 9 * 9 * 9; ++number) {
        std::string password;
        for (std::size_t rest = number, part = 0; part < 4; ++part, rest /= 9) password += parts[rest % 9];
        for (const char* end : {"", ";Database=d", "{}d{}2{}1", "\";Database=d", "};Database=d{}d{}2{}1"}) {
            const std::string text = "Uid=u;Pwd=" + password + end;
            ASSERT_THAT(Masked(text), Not(HasSubstr("SECRET"))) << text;
            ASSERT_THAT(Masked(text), StartsWith("Uid=u;Pwd=***")) << text;
        }
    }
}

TEST(MaskedTexts, FindTheSecretThoughTheTextBeforeItCannotBeRead) {
    for (const char* text : {"nonsense;Pwd=SECRET", "Server={open;Pwd=SECRET", "Server=\"a;Pwd=SECRET\"",
                             "Data Source=f Password=SECRET", "x{}y{}Pwd=SECRET", "=;=Pwd=SECRET",
                             "{Pwd=SECRET}", "\tpWd\t=\tSECRET", "Server=h;\nPwd=SECRET"}) {
        EXPECT_THAT(Masked(text), Not(HasSubstr("SECRET"))) << text;
        EXPECT_THAT(Masked(text), HasSubstr("***")) << text;
    }
}

}  // namespace
}  // namespace iqrx::platform
