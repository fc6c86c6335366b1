// Automation values as VARIANTs and back.
#pragma once

#include <functional>

#include "platform/value.h"
#include "platform/windows/com.h"

namespace iqrx::platform::windows {

// An object that came from COM goes out as itself, any other as an IDispatch around it.
void ToVariant(const Value& value, VARIANT& variant);

// How an interface pointer, never null, becomes an object.
using MakeObject = std::function<ObjectRef(ComRef<IDispatch>)>;

// References are followed. Wide whole numbers become a Long where they fit and a Double where they don't,
// currency and decimals a Double. Raises "type mismatch" for arrays, error values and interfaces that are not
// late-bound.
Value FromVariant(const VARIANT& variant, const MakeObject& makeObject);

}  // namespace iqrx::platform::windows
