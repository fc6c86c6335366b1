// Conversions between automation values: Null raises "invalid use of Null", a text that is not a number "type
// mismatch", a number outside its type "overflow"; fractions round half to even. Empty reads as 0 or as the
// empty text.
#pragma once

#include <string>
#include <string_view>

#include "platform/error.h"
#include "platform/value.h"

namespace iqrx::platform {

// Decimal separator and date order of texts follow `decimalSeparator` and ISO; the default is the invariant
// form.
std::string ToText(const Value& value, std::string_view decimalSeparator = ".");

Boolean ToBoolean(const Value& value);
Byte ToByte(const Value& value);
Integer ToInteger(const Value& value);
Long ToLong(const Value& value);
Double ToDouble(const Value& value);
Date ToDate(const Value& value);
ObjectRef ToObject(Value value);  // raises "object not set" for Nothing
// Nothing for what is not an object, too; raises nothing.
inline ObjectRef ObjectOrNothing(const Value& value) {
    return value.Is<ObjectRef>() ? value.As<ObjectRef>() : nullptr;
}

// Whether the error is "type mismatch", "overflow" or "invalid use of Null".
inline bool ConcernsValue(const RuntimeError& error) {
    return error.number == kTypeMismatch || error.number == kOverflow || error.number == kInvalidUseOfNull;
}

// Runs a conversion. When the value does not fit, the error rises with what `place` returns after its
// description: the reader needs to find the value.
template <class Convert, class Place>
auto NamingPlace(Convert convert, Place place) {
    try {
        return convert();
    } catch (const RuntimeError& error) {
        if (!ConcernsValue(error)) throw;
        throw RuntimeError(error.number, error.source, error.description + ": " + place());
    }
}

bool IsNumeric(std::string_view text);

// At most 15 significant digits (7 for a Single), the shortest form of them; an exponent only where 15
// decimals don't do.
std::string NumberText(Double number, std::string_view decimalSeparator = ".");
std::string NumberText(Single number, std::string_view decimalSeparator = ".");
// The form that puts a blank before a number that is not negative.
inline std::string SignedText(Long number) { return (number < 0 ? "" : " ") + std::to_string(number); }

Double RoundHalfToEven(Double number, int decimals);

}  // namespace iqrx::platform
