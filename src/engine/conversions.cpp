#include "engine/conversions.h"

#include "platform/conversions.h"

namespace iqrx::engine {

using platform::Value;
using runtime::SqlLiterals;

namespace {

constexpr int kPeriodDecimals = 2;

platform::Double Period(const Value& value) {
    return platform::RoundHalfToEven(platform::ToDouble(value), kPeriodDecimals);
}

}  // namespace

void AppendText(std::string& sql, const Value& value, const SqlLiterals& literals) {
    if (value.Is<std::string>())
        literals.AppendQuoted(sql, value.As<std::string>());
    else
        literals.AppendQuoted(sql, platform::ToText(value));
}

void AppendYesNo(std::string& sql, const Value& value, const SqlLiterals&) {
    sql += platform::ToLong(value) == 1 ? '1' : '0';
}

void AppendReal(std::string& sql, const Value& value, const SqlLiterals& literals) {
    sql += literals.FormatDecimal(platform::ToDouble(value));
}

void AppendPeriod(std::string& sql, const Value& value, const SqlLiterals& literals) {
    sql += literals.FormatDecimal(Period(value));
}

void AppendPeriodInOwnForm(std::string& sql, const Value& value, const SqlLiterals& literals) {
    sql += literals.LocaleText(Period(value));
}

void AppendRaw(std::string& sql, const Value& value, const SqlLiterals&) { sql += platform::ToText(value); }

void AppendByte(std::string& sql, const Value& value, const SqlLiterals&) {
    sql += std::to_string(platform::ToByte(platform::ToLong(value)));
}

void AppendWhole16(std::string& sql, const Value& value, const SqlLiterals&) {
    sql += std::to_string(platform::ToInteger(value));
}

void AppendSigned(std::string& sql, const Value& value, const SqlLiterals&) {
    sql += platform::SignedText(platform::ToLong(value));
}

void AppendUtcDate(std::string& sql, const Value& value, const SqlLiterals& literals) {
    sql += literals.UtcDateLiteral(value).value_or("NULL");
}

void AppendEmptyText(std::string& sql, const Value&, const SqlLiterals& literals) {
    literals.AppendQuoted(sql, {});
}

}  // namespace iqrx::engine
