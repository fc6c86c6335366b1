#include "engine/conversions.h"

#include "platform/conversions.h"
#include "platform/number.h"

namespace iqrx::engine {

using runtime::SqlLiterals;

namespace {

constexpr int kPeriodDecimals = 2;

platform::Double Period(const Value& value) {
    return platform::RoundHalfToEven(platform::ToDouble(value), kPeriodDecimals);
}

// The text of the value, in the value itself or in one that is kept.
std::string_view TextOf(const Value& value, KeptValues& kept) {
    if (value.Is<std::string>()) return value.As<std::string>();
    return kept.emplace_front(platform::ToText(value)).As<std::string>();
}

// A number in the form that is all digits; nothing for any other text.
std::optional<platform::Long> WholeNumber(std::string_view text) {
    const auto number = platform::NumberFrom<platform::Long>(text);
    return number && std::to_string(*number) == text ? number : std::nullopt;
}

}  // namespace

Literal TextLiteral(const Value& value, const SqlLiterals& literals, KeptValues& kept) {
    return literals.QuoteSqlString(TextOf(value, kept));
}

Literal YesNoLiteral(const Value& value, const SqlLiterals&, KeptValues&) {
    return Literal::Whole(platform::ToLong(value) == 1 ? 1 : 0);
}

Literal RealLiteral(const Value& value, const SqlLiterals& literals, KeptValues&) {
    return literals.FormatDecimal(platform::ToDouble(value));
}

Literal PeriodLiteral(const Value& value, const SqlLiterals& literals, KeptValues&) {
    return literals.FormatDecimal(Period(value));
}

// With a point or without any separator it is the number that FormatDecimal writes; a comma makes two values of it.
Literal PeriodInLocaleLiteral(const Value& value, const SqlLiterals& literals, KeptValues& kept) {
    const platform::Double period = Period(value);
    std::string text = literals.LocaleText(period);
    if (text == platform::NumberText(period)) return literals.FormatDecimal(period);
    return Literal::Unknown(kept.emplace_front(std::move(text)).As<std::string>());
}

Literal RawLiteral(const Value& value, const SqlLiterals&, KeptValues& kept) {
    if (value.Is<platform::Long>()) return Literal::Whole(value.As<platform::Long>());
    const std::string_view text = TextOf(value, kept);
    const auto number = WholeNumber(text);
    return number ? Literal::Whole(*number) : Literal::Unknown(text);
}

Literal ByteLiteral(const Value& value, const SqlLiterals&, KeptValues&) {
    return Literal::Whole(platform::ToByte(platform::ToLong(value)));
}

Literal Whole16Literal(const Value& value, const SqlLiterals&, KeptValues&) {
    return Literal::Whole(platform::ToInteger(value));
}

Literal UtcDateLiteral(const Value& value, const SqlLiterals& literals, KeptValues&) {
    return literals.UtcDateLiteral(value).value_or(Literal());
}

Literal EmptyTextLiteral(const Value&, const SqlLiterals& literals, KeptValues&) {
    return literals.QuoteSqlString({});
}

}  // namespace iqrx::engine
