#include "runtime/sql_literals.h"

#include <array>
#include <charconv>
#include <cmath>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::runtime {

namespace {

constexpr std::size_t kIsoLength = 19;

// The separator and two digits.
char* PadZero(char* to, char separator, int number) {
    *to++ = separator;
    *to++ = static_cast<char>('0' + number / 10);
    *to++ = static_cast<char>('0' + number % 10);
    return to;
}

// Room for any year, and what is written there.
struct IsoText {
    explicit IsoText(platform::Date moment) {
        const platform::CivilTime time = platform::ToCivil(moment);
        char* end = std::to_chars(room.data(), room.data() + room.size(), time.year).ptr;
        end = PadZero(PadZero(end, '-', time.month), '-', time.day);
        end = PadZero(PadZero(PadZero(end, ' ', time.hour), ':', time.minute), ':', time.second);
        text = {room.data(), static_cast<std::size_t>(end - room.data())};
    }
    std::array<char, 32> room;
    std::string_view text;
};

// A number that is written with so few digits that all of them are shown, and none with an exponent.
std::optional<Literal> ShortDecimal(double number) {
    constexpr std::ptrdiff_t kMostCharacters = 15;
    std::array<char, kMostCharacters> room;
    const auto [end, error] =
        std::to_chars(room.data(), room.data() + room.size(), number, std::chars_format::fixed);
    if (error != std::errc()) return std::nullopt;
    return Literal::Real(number, {room.data(), static_cast<std::size_t>(end - room.data())}).WithItsText();
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
    const IsoText iso(moment);
    const bool known = iso.text.size() == kIsoLength;
    return (known ? Literal::Text(iso.text, dialect_->date) : Literal::Unknown(iso.text, dialect_->date))
        .WithItsText();
}

std::optional<Literal> SqlLiterals::UtcDateLiteral(const platform::Value& local) const {
    constexpr platform::Date kEpoch{0};
    try {
        if (local.Is<platform::Null>()) return std::nullopt;
        const platform::Date moment = platform::ToDate(local);
        if (moment <= kEpoch) return std::nullopt;
        return DateLiteral(platform::AddMinutes(moment, machine_.timeZone.BiasMinutes()));
    } catch (const platform::RuntimeError&) {
        return std::nullopt;
    }
}

Literal SqlLiterals::FormatDecimal(platform::Double number) const {
    constexpr double kFirstWithAnExponent = 1e15;
    if (std::abs(number) < kFirstWithAnExponent && number == std::trunc(number))
        return Literal::Whole(static_cast<std::int64_t>(number));
    if (const auto literal = ShortDecimal(number)) return *literal;
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

std::string FormatIsoDateTime(platform::Date moment) { return std::string(IsoText(moment).text); }

}  // namespace iqrx::runtime
