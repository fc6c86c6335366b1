// How a getter's value becomes an SQL literal: one conversion per kind. Null raises "invalid use of
// Null" in every kind but a date, which is written as NULL.
#pragma once

#include <forward_list>

#include "erp/erp.h"
#include "runtime/sql_literals.h"

namespace iqrx::engine {

using platform::Literal;
using platform::Value;

// Values that texts of literals lie in.
using KeptValues = std::forward_list<Value>;

// The literal may borrow the text of the value or of one that is kept.
using MakeLiteral = Literal(const Value& value, const runtime::SqlLiterals& literals, KeptValues& kept);

struct Conversion {
    MakeLiteral* make = nullptr;
    erp::FieldKind kind = erp::FieldKind::Text;  // what the ERP returns
    bool asksErp = true;                         // false: the literal is the same whatever the record holds
};

MakeLiteral TextLiteral, YesNoLiteral, RealLiteral, PeriodLiteral, PeriodInLocaleLiteral, RawLiteral,
    ByteLiteral, Whole16Literal, UtcDateLiteral, EmptyTextLiteral;

// Quoted text, and the same of a whole number that the ERP returns as such.
inline constexpr Conversion kText{TextLiteral, erp::FieldKind::Text};
inline constexpr Conversion kQuotedWhole{TextLiteral, erp::FieldKind::Whole};
// 1 is written as 1, any other value as 0: the ERP's "no" is 2.
inline constexpr Conversion kYesNo{YesNoLiteral, erp::FieldKind::Whole};
inline constexpr Conversion kReal{RealLiteral, erp::FieldKind::Real};
// Minutes, rounded half to even at two decimals; in the locale's form with the decimal separator of the user.
inline constexpr Conversion kPeriod{PeriodLiteral, erp::FieldKind::Real};
inline constexpr Conversion kPeriodInLocale{PeriodInLocaleLiteral, erp::FieldKind::Real};
// The value's own text, unquoted.
inline constexpr Conversion kRaw{RawLiteral, erp::FieldKind::Whole};
inline constexpr Conversion kByte{ByteLiteral, erp::FieldKind::Whole};
inline constexpr Conversion kWhole16{Whole16Literal, erp::FieldKind::Whole};
// UTC, NULL for Null and for moments of 1970-01-01 00:00:00 and before.
inline constexpr Conversion kUtcDate{UtcDateLiteral, erp::FieldKind::Date};
// The quoted empty text whatever the ERP holds.
inline constexpr Conversion kEmptyText{EmptyTextLiteral, erp::FieldKind::Text, false};

}  // namespace iqrx::engine
