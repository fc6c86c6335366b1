// Conversions between automation values: Null raises "invalid use of Null", a text that is no number "type
// mismatch", a number outside its type "overflow"; fractions round half to even. Empty reads as 0 or as the
// empty text.
#pragma once

#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

// Decimal separator and date order of texts follow `decimalSeparator` and ISO; the default is the invariant
// form.
std::string ToText(const Value& value, std::string_view decimalSeparator = ".");

Boolean ToBoolean(const Value& value);
Byte ToByte(const Value& value);
Integer ToInteger(const Value& value);
Long ToLong(const Value& value);
Single ToSingle(const Value& value);
Double ToDouble(const Value& value);
Date ToDate(const Value& value);
ObjectRef ToObject(Value value);  // raises "object not set" for Nothing

bool IsNumeric(std::string_view text);

// At most 15 significant digits (7 for a Single), the shortest form of them; an exponent only where 15
// decimals don't do.
std::string NumberText(Double number, std::string_view decimalSeparator = ".");
std::string NumberText(Single number, std::string_view decimalSeparator = ".");
// The form that puts a blank before a number that is not negative.
std::string SignedText(Long number);

Double RoundHalfToEven(Double number, int decimals);

}  // namespace iqrx::platform
