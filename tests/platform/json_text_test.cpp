#include "platform/printable.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/date.h"

namespace iqrx::platform {
namespace {

TEST(JsonTexts, EscapeWhatJsonCannotHold) {
    EXPECT_EQ(JsonText(""), R"("")");
    EXPECT_EQ(JsonText("say \"a\\b\""), R"("say \"a\\b\"")");
    EXPECT_EQ(JsonText("a\r\nb\tc\x01\x1f"), R"("a\r\nb\tc\u0001\u001f")");
    EXPECT_EQ(JsonText(std::string_view("a\0b", 3)), R"("a\u0000b")");
    EXPECT_EQ(JsonText("N'a' / \x7f"), "\"N'a' / \x7f\"");
}

TEST(JsonTexts, KeepUtf8AndReplaceBytesThatAreNone) {
    EXPECT_EQ(JsonText("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), "\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"");
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(JsonText("a\xE4"), "\"a" + replaced + "\"");
    EXPECT_EQ(JsonText("\xC0\x80"), "\"" + replaced + replaced + "\"");
    EXPECT_EQ(JsonText("\xED\xA0\x80z"), "\"" + replaced + replaced + replaced + "z\"");
}

TEST(JsonValues, AreNumbersTextsAndNull) {
    EXPECT_EQ(JsonValue(std::string("C01"), IsoDateTime), R"("C01")");
    EXPECT_EQ(JsonValue(Byte{255}, IsoDateTime), "255");
    EXPECT_EQ(JsonValue(Integer{-2}, IsoDateTime), "-2");
    EXPECT_EQ(JsonValue(std::numeric_limits<Long>::min(), IsoDateTime), "-2147483648");
    EXPECT_EQ(JsonValue(0.5, IsoDateTime), "0.5");
    EXPECT_EQ(JsonValue(0.1f, IsoDateTime), "0.1");
    EXPECT_EQ(JsonValue(true, IsoDateTime), "true");
    EXPECT_EQ(JsonValue(Null(), IsoDateTime), "null");
    EXPECT_EQ(JsonValue(Value(), IsoDateTime), "null");
    EXPECT_EQ(JsonValue(ObjectRef(), IsoDateTime), "null");
    EXPECT_EQ(JsonValue(std::numeric_limits<Double>::infinity(), IsoDateTime), "null");
}

TEST(JsonValues, WriteDatesInTheFormAskedFor) {
    const Date moment = ParseIsoDate("2009-05-07 08:00:00").value();
    EXPECT_EQ(JsonValue(moment, IsoDateTime), R"("2009-05-07 08:00:00")");
    EXPECT_EQ(JsonValue(moment, IsoTime), R"("08:00:00")");
}

}  // namespace
}  // namespace iqrx::platform
