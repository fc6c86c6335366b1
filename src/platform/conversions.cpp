#include "platform/conversions.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/date.h"
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

// Digits and exponent of the shortest form with at most `precision` significant digits.
struct Decimal {
    std::string digits;  // without a trailing zero
    int exponent;        // of the first digit
};

Decimal Digits(std::string_view scientific) {
    const auto e = scientific.find('e');
    Decimal decimal{};
    for (const char c : scientific.substr(0, e))
        if (c != '.') decimal.digits += c;
    decimal.digits.resize(std::max<std::size_t>(1, decimal.digits.find_last_not_of('0') + 1));
    auto exponent = scientific.substr(e + 1);
    if (exponent.starts_with('+')) exponent.remove_prefix(1);
    std::from_chars(exponent.data(), exponent.data() + exponent.size(), decimal.exponent);
    return decimal;
}

// The form that reads back as the number, where it is short enough; else rounded to the precision.
template <class T>
Decimal Shortest(T number, int precision) {
    std::array<char, 32> buffer;
    const auto text = [&](std::to_chars_result written) {
        return std::string_view(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
    };
    char* const end = buffer.data() + buffer.size();
    Decimal decimal = Digits(text(std::to_chars(buffer.data(), end, number, std::chars_format::scientific)));
    if (decimal.digits.size() > static_cast<std::size_t>(precision))
        decimal = Digits(
            text(std::to_chars(buffer.data(), end, number, std::chars_format::scientific, precision - 1)));
    return decimal;
}

std::string Fixed(const Decimal& decimal, std::string_view separator) {
    const auto& [digits, exponent] = decimal;
    if (exponent < 0)
        return "0" + std::string(separator) + std::string(static_cast<std::size_t>(-exponent - 1), '0') +
               digits;
    const auto whole = static_cast<std::size_t>(exponent) + 1;
    if (digits.size() <= whole) return digits + std::string(whole - digits.size(), '0');
    return digits.substr(0, whole) + std::string(separator) + digits.substr(whole);
}

std::string Scientific(const Decimal& decimal, std::string_view separator) {
    std::string text = decimal.digits.substr(0, 1);
    if (decimal.digits.size() > 1) text += std::string(separator) + decimal.digits.substr(1);
    const std::string exponent = std::to_string(std::abs(decimal.exponent));
    return text + (decimal.exponent < 0 ? "E-" : "E+") + (exponent.size() < 2 ? "0" : "") + exponent;
}

template <class T>
std::string TextWithPrecision(T number, int precision, std::string_view separator) {
    constexpr int kMaxDecimals = 15;
    if (number == 0) return "0";
    if (!std::isfinite(number)) RaiseRuntimeError(kOverflow);
    const Decimal decimal = Shortest(std::abs(number), precision);
    const int decimals = static_cast<int>(decimal.digits.size()) - 1 - decimal.exponent;
    const bool fixed = decimal.exponent < precision && decimals <= kMaxDecimals;
    return (number < 0 ? "-" : "") + (fixed ? Fixed(decimal, separator) : Scientific(decimal, separator));
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

std::string SignedText(Long number) { return (number < 0 ? "" : " ") + std::to_string(number); }

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

ObjectRef ObjectOrNothing(const Value& value) {
    return value.Is<ObjectRef>() ? value.As<ObjectRef>() : nullptr;
}

bool ConcernsValue(const RuntimeError& error) {
    return error.number == kTypeMismatch || error.number == kOverflow || error.number == kInvalidUseOfNull;
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
