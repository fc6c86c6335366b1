// How a getter's answer becomes an SQL literal: one conversion per kind. A Null answer raises "invalid use of
// Null" in every kind but a date, which is written as NULL.
#pragma once

#include <string>

#include "erp/erp.h"
#include "runtime/sql_literals.h"

namespace iqrx::engine {

struct Conversion {
    using Append = void (*)(std::string& sql, const platform::Value& value,
                            const runtime::SqlLiterals& literals);
    Append append = nullptr;
    erp::FieldKind kind = erp::FieldKind::Text;  // what the ERP answers
    bool asksErp = true;                         // false: the literal is the same whatever the record holds
};

void AppendText(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendYesNo(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendReal(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendPeriod(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendPeriodInOwnForm(std::string& sql, const platform::Value& value,
                           const runtime::SqlLiterals& literals);
void AppendRaw(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendByte(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendWhole16(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendSigned(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendUtcDate(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);
void AppendEmptyText(std::string& sql, const platform::Value& value, const runtime::SqlLiterals& literals);

// Quoted text, and the same of a whole or a real number that the ERP answers as such.
inline constexpr Conversion kText{AppendText, erp::FieldKind::Text};
inline constexpr Conversion kQuotedWhole{AppendText, erp::FieldKind::Whole};
inline constexpr Conversion kQuotedReal{AppendText, erp::FieldKind::Real};
// 1 is written as 1, any other value as 0: the ERP's "no" is 2.
inline constexpr Conversion kYesNo{AppendYesNo, erp::FieldKind::Whole};
inline constexpr Conversion kReal{AppendReal, erp::FieldKind::Real};
// Minutes, rounded half to even at two decimals; in its own form with the decimal separator of the user's
// locale.
inline constexpr Conversion kPeriod{AppendPeriod, erp::FieldKind::Real};
inline constexpr Conversion kPeriodInOwnForm{AppendPeriodInOwnForm, erp::FieldKind::Real};
// The value's own text, unquoted.
inline constexpr Conversion kRaw{AppendRaw, erp::FieldKind::Whole};
inline constexpr Conversion kByte{AppendByte, erp::FieldKind::Whole};
inline constexpr Conversion kWhole16{AppendWhole16, erp::FieldKind::Whole};
// Unquoted, with a blank before a number that is not negative.
inline constexpr Conversion kSigned{AppendSigned, erp::FieldKind::Whole};
// UTC, NULL for Null and for moments of 1970-01-01 00:00:00 and before.
inline constexpr Conversion kUtcDate{AppendUtcDate, erp::FieldKind::Date};
// The quoted empty text whatever the ERP holds.
inline constexpr Conversion kEmptyText{AppendEmptyText, erp::FieldKind::Text, false};

}  // namespace iqrx::engine
