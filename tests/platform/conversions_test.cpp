#include "platform/conversions.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::platform {
namespace {

template <class Action>
std::int32_t NumberRaisedBy(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST(NumberText, WritesAtMostFifteenDigitsInTheShortestForm) {
    const std::pair<Double, const char*> cases[] = {
        {0, "0"},
        {-0.0, "0"},
        {1, "1"},
        {-1.5, "-1.5"},
        {0.1, "0.1"},
        {0.1 + 0.2, "0.3"},
        {2.0 / 3, "0.666666666666667"},
        {1.0 / 30, "3.33333333333333E-02"},
        {1e-12, "0.000000000001"},
        {1e-15, "0.000000000000001"},
        {1e-16, "1E-16"},
        {123456789012345, "123456789012345"},
        {1e14, "100000000000000"},
        {1e15, "1E+15"},
        {1234567890123456, "1.23456789012346E+15"},
        {-2.5e300, "-2.5E+300"},
        {1e-300, "1E-300"},
        {99.99, "99.99"},
    };
    for (const auto& [number, text] : cases) EXPECT_EQ(NumberText(number), text);
}

TEST(NumberText, WritesTheDecimalSeparatorThatItIsGiven) {
    EXPECT_EQ(NumberText(-1.25, ","), "-1,25");
    EXPECT_EQ(NumberText(1.5e300, ","), "1,5E+300");
    EXPECT_EQ(NumberText(1.1F), "1.1");
}

TEST(Conversions, RoundHalfToEven) {
    EXPECT_EQ(ToInteger(0.5), 0);
    EXPECT_EQ(ToInteger(1.5), 2);
    EXPECT_EQ(ToInteger(2.5), 2);
    EXPECT_EQ(ToLong(-2.5), -2);
    EXPECT_EQ(RoundHalfToEven(0.125, 2), 0.12);
    EXPECT_EQ(RoundHalfToEven(0.375, 2), 0.38);
}

TEST(Conversions, RaiseOverflowOutsideTheTypesRange) {
    EXPECT_EQ(NumberRaisedBy([] { ToByte(Integer{256}); }), kOverflow);
    EXPECT_EQ(NumberRaisedBy([] { ToByte(Integer{-1}); }), kOverflow);
    EXPECT_EQ(NumberRaisedBy([] { ToInteger(Long{32768}); }), kOverflow);
    EXPECT_EQ(NumberRaisedBy([] { ToInteger(32767.5); }), kOverflow);
    EXPECT_EQ(NumberRaisedBy([] { ToLong(std::string("2147483648")); }), kOverflow);
    EXPECT_EQ(ToByte(Integer{255}), 255);
    EXPECT_EQ(ToInteger(-32768.5), -32768);
}

TEST(Conversions, RaiseTypeMismatchForTextsThatAreNoNumber) {
    for (const char* text : {"", " ", "abc", "1x", "0x10", "nan", "inf", "1.2.3"})
        EXPECT_EQ(NumberRaisedBy([&] { ToDouble(std::string(text)); }), kTypeMismatch) << text;
    EXPECT_EQ(ToDouble(std::string(" -12.5 ")), -12.5);
    EXPECT_EQ(ToLong(std::string("1e3")), 1000);
}

TEST(Conversions, RaiseInvalidUseOfNullInEveryKind) {
    const Value null = Null{};
    EXPECT_EQ(NumberRaisedBy([&] { ToText(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToBoolean(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToByte(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToInteger(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToLong(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToDouble(null); }), kInvalidUseOfNull);
    EXPECT_EQ(NumberRaisedBy([&] { ToDate(null); }), kInvalidUseOfNull);
}

TEST(Conversions, ReadEmptyAsZeroOrTheEmptyText) {
    EXPECT_EQ(ToText(Empty{}), "");
    EXPECT_EQ(ToLong(Empty{}), 0);
    EXPECT_FALSE(ToBoolean(Empty{}));
}

TEST(Conversions, GiveBooleansTheirAutomationForm) {
    EXPECT_EQ(ToText(true), "True");
    EXPECT_EQ(ToInteger(true), -1);
    EXPECT_TRUE(ToBoolean(Byte{2}));
}

TEST(Conversions, RaiseForNothingAndForWhatIsNoObject) {
    EXPECT_EQ(NumberRaisedBy([] { ToObject(ObjectRef()); }), kObjectNotSet);
    EXPECT_EQ(NumberRaisedBy([] { ToObject(Long{1}); }), kTypeMismatch);
}

TEST(SignedText, PutsABlankBeforeNumbersThatAreNotNegative) {
    EXPECT_EQ(SignedText(12), " 12");
    EXPECT_EQ(SignedText(0), " 0");
    EXPECT_EQ(SignedText(-12), "-12");
}

TEST(IsNumeric, FollowsTheConversion) {
    EXPECT_TRUE(IsNumeric("12"));
    EXPECT_TRUE(IsNumeric(" -1.5 "));
    EXPECT_FALSE(IsNumeric(""));
    EXPECT_FALSE(IsNumeric("12a"));
}

}  // namespace
}  // namespace iqrx::platform
