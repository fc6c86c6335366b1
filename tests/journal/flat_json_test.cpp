// What is read of one object, however it is written.
#include "journal/flat_json.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <sstream>

namespace iqrx::journal {
namespace {

// The members that were handed over, and whether the text was one whole object.
std::string Read(std::string_view text) {
    struct {
        std::string operator()(std::monostate) const { return "null"; }
        std::string operator()(bool value) const { return value ? "true" : "false"; }
        std::string operator()(std::int64_t value) const { return "whole " + std::to_string(value); }
        std::string operator()(double value) const {
            std::ostringstream digits;
            digits << "real " << std::setprecision(17) << value;
            return digits.str();
        }
        std::string operator()(std::string_view value) const { return "text " + std::string(value); }
    } name;
    std::string members;
    const bool isWhole = ReadObject(text, [&](std::string_view key, const Scalar& value) {
        members += std::string(key) + "=" + std::visit(name, value) + ";";
    });
    return members + (isWhole ? "" : "damaged");
}

TEST(AnObject, IsHandedOverMemberByMember) {
    EXPECT_EQ(Read(R"({"a":"x","b":12,"c":null,"d":true,"e":false})"),
              "a=text x;b=whole 12;c=null;d=true;e=false;");
    EXPECT_EQ(Read("{}"), "");
    EXPECT_EQ(Read(R"({"a":""})"), "a=text ;");
    EXPECT_EQ(Read("{\"a\":1}\n"), "a=whole 1;");
    EXPECT_EQ(Read(R"({"a":1,"a":2})"), "a=whole 1;a=whole 2;");
}

TEST(AnObject, ReadsTheSameHoweverItIsWritten) {
    EXPECT_EQ(Read(" { \"a\" : \"x\" , \"b\" : 12 } "), "a=text x;b=whole 12;");
    EXPECT_EQ(Read(R"({"a":"x\u0041\"\\","b":12})"), "a=text xA\"\\;b=whole 12;");
    EXPECT_EQ(Read(R"({"a":{"b":1},"c":[2,{"d":3}],"e":4})"), "e=whole 4;");
    std::string many = "{\"k\":0";
    std::string expected = "k=whole 0;";
    for (int i = 1; i < 40; ++i) {
        many += ",\"k\":" + std::to_string(i);
        expected += "k=whole " + std::to_string(i) + ";";
    }
    EXPECT_EQ(Read(many + "}"), expected);
}

TEST(AnObject, HasNumbersOfEveryForm) {
    EXPECT_EQ(Read(R"({"a":0,"b":-7,"c":9223372036854775807,"d":-9223372036854775808})"),
              "a=whole 0;b=whole -7;c=whole 9223372036854775807;d=whole -9223372036854775808;");
    EXPECT_EQ(Read(R"({"a":0.5,"b":-12.25,"c":2.5e3,"d":1E-2,"e":18446744073709551615})"),
              "a=real 0.5;b=real -12.25;c=real 2500;d=real 0.01;e=real 1.8446744073709552e+19;");
    EXPECT_EQ(Read(R"({"a":0.1})"), "a=real 0.10000000000000001;");
}

TEST(AnObject, HasTextsInUtf8) {
    EXPECT_EQ(Read("{\"a\":\"J\xC3\xBCrgen \xE2\x82\xAC \x7F\"}"), "a=text J\xC3\xBCrgen \xE2\x82\xAC \x7F;");
    EXPECT_EQ(Read("{\"a\":\"J\xFCrgen\"}"), "damaged");
    EXPECT_EQ(Read("{\"a\":\"\xED\xA0\x80\"}"), "damaged");  // half of a pair
    EXPECT_EQ(Read("{\"a\":\"\xC0\xAF\"}"), "damaged");      // longer than need be
    EXPECT_EQ(Read("{\"a\":\"\xE2\x82\"}"), "damaged");      // cut
}

TEST(AnObject, ThatIsDamagedIsReadAsFarAsItIsWhole) {
    const std::string line = R"({"a":"x","b":12})";
    for (std::size_t size = 0; size < line.size(); ++size)
        EXPECT_THAT(Read(line.substr(0, size)), ::testing::EndsWith("damaged")) << size;
    EXPECT_EQ(Read(R"({"a":"x","b)"), "a=text x;damaged");
    for (const char* text : {R"({"a":1,})", R"({,"a":1})", R"({"a"})", R"({"a":})", R"({"a" 1})",
                             R"({"a":1 "b":2})", R"({"a":1}x)", R"({"a":1}{"b":2})", R"({a:1})",
                             R"({"a":truely})", R"({"a":nul})", R"({"a":'x'})", R"(["a"])", "7", ""})
        EXPECT_THAT(Read(text), ::testing::EndsWith("damaged")) << text;
    for (const char* number : {"01", "-", "+1", "1.", ".5", "1.5.5", "1e", "--1", "-01", "0x1", "1-1", "NaN"})
        EXPECT_THAT(Read("{\"a\":" + std::string(number) + "}"), ::testing::EndsWith("damaged")) << number;
    EXPECT_EQ(Read("{\"a\":\"x\ty\"}"), "damaged");  // a tab has to be escaped
}

}  // namespace
}  // namespace iqrx::journal
