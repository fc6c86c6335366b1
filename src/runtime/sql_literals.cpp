#include "runtime/sql_literals.h"

#include <charconv>
#include <cmath>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "runtime/message_catalog.h"
#include "runtime/time_zone.h"

namespace iqrx::runtime {

namespace {

constexpr std::size_t kIsoLength = 19;

// With its separator; two digits at least.
void AppendPadZero(std::string& text, char separator, int number) {
    text += separator;
    if (number < 10) text += '0';
    text += std::to_string(number);
}

}  // namespace

Literal SqlLiterals::WrapDateLiteral(std::string_view text) const {
    const platform::LiteralFrame& frame = dialect_->date;
    if (text.empty())
        return Literal::Empty(dialect_->emptyDate.empty() ? Literal() : Literal::Text(dialect_->emptyDate),
                              frame);
    const bool known = text.size() == kIsoLength && text.front() != '0' && platform::ParseIsoDate(text);
    return known ? Literal::Text(text, frame) : Literal::Unknown(text, frame);
}

// A year of five digits is none that the servers know.
Literal SqlLiterals::DateLiteral(platform::Date moment) const {
    const std::string text = FormatIsoDateTime(moment);
    const bool known = text.size() == kIsoLength;
    return (known ? Literal::Text(text, dialect_->date) : Literal::Unknown(text, dialect_->date)).WithItsText();
}

std::optional<Literal> SqlLiterals::UtcDateLiteral(const platform::Value& local) const {
    constexpr platform::Date kEpoch{0};
    try {
        if (local.Is<platform::Null>()) return std::nullopt;
        const platform::Date moment = platform::ToDate(local);
        if (moment <= kEpoch) return std::nullopt;
        return DateLiteral(LocalToUtc(moment, machine_.timeZone));
    } catch (const platform::RuntimeError&) {
        return std::nullopt;
    }
}

Literal SqlLiterals::CurrentTimeLiteral() const { return DateLiteral(machine_.clock.Now()); }

Literal SqlLiterals::FormatDecimal(platform::Double number) const {
    constexpr double kFirstWithAnExponent = 1e15;
    if (std::abs(number) < kFirstWithAnExponent && number == std::trunc(number))
        return Literal::Whole(static_cast<std::int64_t>(number));
    const std::string text = platform::NumberText(number);
    double rounded = number;  // to the digits that are shown
    std::from_chars(text.data(), text.data() + text.size(), rounded);
    return Literal::Real(rounded, text).WithItsText();
}

std::string SqlLiterals::LocaleText(platform::Double number) const {
    return platform::NumberText(number, machine_.locale.DecimalSeparator());
}

Literal UnescapedName(std::string_view name) {
    return name.find('\'') == std::string_view::npos ? Literal::Text(name)
                                                     : Literal::Unknown(name, platform::kNational);
}

std::string FormatIsoDateTime(platform::Date moment) {
    const platform::CivilTime time = platform::ToCivil(moment);
    std::string text = std::to_string(time.year);
    AppendPadZero(text, '-', time.month);
    AppendPadZero(text, '-', time.day);
    AppendPadZero(text, ' ', time.hour);
    AppendPadZero(text, ':', time.minute);
    AppendPadZero(text, ':', time.second);
    return text;
}

std::string MaxKeyString(int count) { return std::string(static_cast<std::size_t>(count), '\x7f'); }

std::string GetSyncTimeText() { return {}; }

}  // namespace iqrx::runtime
