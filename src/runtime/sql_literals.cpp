#include "runtime/sql_literals.h"

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "runtime/message_catalog.h"
#include "runtime/time_zone.h"

namespace iqrx::runtime {

namespace {

// With its separator; two digits at least.
void AppendPadZero(std::string& text, char separator, int number) {
    text += separator;
    if (number < 10) text += '0';
    text += std::to_string(number);
}

}  // namespace

std::string SqlLiterals::QuoteSqlString(std::string_view text) const {
    std::string literal;
    AppendQuoted(literal, text);
    return literal;
}

void SqlLiterals::AppendQuoted(std::string& sql, std::string_view text) const {
    if (platform_ == kOracle && text.empty()) text = " ";
    sql += "N'";
    for (auto quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'')) {
        sql.append(text.substr(0, quote)).append("''");
        text.remove_prefix(quote + 1);
    }
    sql.append(text).push_back('\'');
}

std::string SqlLiterals::WrapDateLiteral(std::string_view text) const {
    const bool oracle = platform_ == kOracle;
    std::string literal(oracle ? "TO_DATE( '" : "CONVERT(DATETIME,'");
    literal.append(text).append(oracle ? "','yyyy-mm-dd HH24:MI:SS')" : "',120)");
    return literal;
}

std::optional<std::string> SqlLiterals::UtcDateLiteral(const platform::Value& local) const {
    constexpr platform::Date kEpoch{0};
    try {
        if (local.Is<platform::Null>()) return std::nullopt;
        const platform::Date moment = platform::ToDate(local);
        if (moment <= kEpoch) return std::nullopt;
        return WrapDateLiteral(FormatIsoDateTime(LocalToUtc(moment, machine_.timeZone)));
    } catch (const platform::RuntimeError&) {
        return std::nullopt;
    }
}

std::string SqlLiterals::CurrentTimeLiteral() const {
    return WrapDateLiteral(FormatIsoDateTime(machine_.clock.Now()));
}

std::string SqlLiterals::FormatDecimal(platform::Double number) const {
    const std::string separator = machine_.locale.DecimalSeparator();
    if (separator == ".") return platform::NumberText(number);
    return Fill(platform::NumberText(number, separator), separator, ".");
}

std::string SqlLiterals::LocaleText(platform::Double number) const {
    return platform::NumberText(number, machine_.locale.DecimalSeparator());
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
