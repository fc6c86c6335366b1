#include "platform/conversions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/date.h"
#include "platform/number.h"
#include "platform/text.h"

namespace iqrx::platform {

namespace {

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

std::optional<Double> ParseNumber(std::string_view text) {
    text = Trim(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || text.find_first_of("infaINFA") != std::string_view::npos) return std::nullopt;
    Double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range) RaiseRuntimeError(kOverflow);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

template <class T>
T ToWhole(const Value& value) {
    if (value.Is<T>()) return value.As<T>();
    const Double rounded = std::nearbyint(ToDouble(value));
    if (!(rounded >= static_cast<Double>(std::numeric_limits<T>::min()) &&
          rounded <= static_cast<Double>(std::numeric_limits<T>::max())))
        RaiseRuntimeError(kOverflow);
    return static_cast<T>(rounded);
}

// The significant digits that a number is shown with, and the exponent of the first.
struct Extent {
    int digits, exponent;
};

Extent ExtentOf(std::string_view scientific) {
    const auto e = scientific.find('e');
    const auto last = scientific.find_last_not_of(".0", e - 1);
    const auto exponent = NumberFrom<int>(scientific.substr(scientific[e + 1] == '+' ? e + 2 : e + 1));
    return {std::max(static_cast<int>(last), 1), *exponent};
}

// Of the form that reads back as the number, where it is short enough; else rounded to the precision.
template <class T>
Extent ExtentOf(T number, int precision) {
    std::array<char, 32> room;
    char* const end = room.data() + room.size();
    const auto written = std::to_chars(room.data(), end, number, std::chars_format::scientific);
    const Extent shortest = ExtentOf({room.data(), written.ptr});
    if (shortest.digits <= precision) return shortest;
    const auto rounded = std::to_chars(room.data(), end, number, std::chars_format::scientific, precision - 1);
    return ExtentOf({room.data(), rounded.ptr});
}

template <class T>
std::string TextWithPrecision(T number, int precision, std::string_view separator) {
    constexpr int kMaxDecimals = 15;
    if (number == 0) return "0";
    if (!std::isfinite(number)) RaiseRuntimeError(kOverflow);
    const auto [digits, exponent] = ExtentOf(std::abs(number), precision);
    const int decimals = digits - 1 - exponent;
    const bool fixed = exponent < precision && decimals <= kMaxDecimals;
    std::array<char, 40> room;
    char* const end = room.data() + room.size();
    const auto written =
        fixed ? std::to_chars(room.data(), end, number, std::chars_format::fixed, std::max(decimals, 0))
              : std::to_chars(room.data(), end, number, std::chars_format::scientific, digits - 1);
    std::string text(room.data(), written.ptr);
    std::ranges::replace(text, 'e', 'E');
    if (const auto point = text.find('.'); point != std::string::npos) text.replace(point, 1, separator);
    return text;
}

std::string DateText(Date moment) {
    const Date day = StartOfDay(moment);
    if (day == kZeroDay) return IsoTime(moment);
    return day == moment ? IsoDate(moment) : IsoDateTime(moment);
}

}  // namespace

std::string NumberText(Double number, std::string_view decimalSeparator) {
    return TextWithPrecision(number, 15, decimalSeparator);
}

std::string NumberText(Single number, std::string_view decimalSeparator) {
    return TextWithPrecision(number, 7, decimalSeparator);
}

std::string ToText(const Value& value, std::string_view decimalSeparator) {
    return std::visit(Overloaded{
                          [](const Empty&) { return std::string(); },
                          [](const Null&) -> std::string { RaiseRuntimeError(kInvalidUseOfNull); },
                          [](Boolean flag) { return std::string(flag ? "True" : "False"); },
                          [&](Single number) { return NumberText(number, decimalSeparator); },
                          [&](Double number) { return NumberText(number, decimalSeparator); },
                          [](const std::string& text) { return text; },
                          [](Date moment) { return DateText(moment); },
                          [](const ObjectRef&) -> std::string { RaiseRuntimeError(kTypeMismatch); },
                          [](auto number) { return std::to_string(number); },
                      },
                      value);
}

Boolean ToBoolean(const Value& value) {
    if (value.Is<Boolean>()) return value.As<Boolean>();
    if (value.Is<std::string>()) {
        const auto text = Trim(value.As<std::string>());
        if (text == "True" || text == "true") return true;
        if (text == "False" || text == "false") return false;
    }
    return ToDouble(value) != 0;
}

Byte ToByte(const Value& value) { return ToWhole<Byte>(value); }
Integer ToInteger(const Value& value) { return ToWhole<Integer>(value); }
Long ToLong(const Value& value) { return ToWhole<Long>(value); }

Double ToDouble(const Value& value) {
    return std::visit(Overloaded{
                          [](const Empty&) { return 0.0; },
                          [](const Null&) -> Double { RaiseRuntimeError(kInvalidUseOfNull); },
                          [](Boolean flag) { return flag ? -1.0 : 0.0; },
                          [](const std::string& text) {
                              if (const auto number = ParseNumber(text)) return *number;
                              RaiseRuntimeError(kTypeMismatch);
                          },
                          [](Date moment) { return ToAutomationDate(moment); },
                          [](const ObjectRef&) -> Double { RaiseRuntimeError(kTypeMismatch); },
                          [](auto number) { return static_cast<Double>(number); },
                      },
                      value);
}

Date ToDate(const Value& value) {
    if (value.Is<Date>()) return value.As<Date>();
    if (value.Is<std::string>()) {
        if (const auto moment = ParseIsoDate(Trim(value.As<std::string>()))) return *moment;
        RaiseRuntimeError(kTypeMismatch);
    }
    return FromAutomationDate(ToDouble(value));
}

ObjectRef ToObject(Value value) {
    ObjectRef* const object = std::get_if<ObjectRef>(&value);
    if (!object) RaiseRuntimeError(kTypeMismatch);
    if (!*object) RaiseRuntimeError(kObjectNotSet);
    return std::move(*object);
}

bool IsNumeric(std::string_view text) {
    try {
        return ParseNumber(text).has_value();
    } catch (const RuntimeError&) {
        return false;
    }
}

Double RoundHalfToEven(Double number, int decimals) {
    const Double scale = std::pow(10.0, decimals);
    const Double scaled = number * scale;
    return std::isfinite(scaled) ? std::nearbyint(scaled) / scale : number;
}

}  // namespace iqrx::platform
