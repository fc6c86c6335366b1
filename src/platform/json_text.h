// JSON as the trace and the instance lines write it.
#pragma once

#include <string>
#include <string_view>

#include "platform/value.h"

namespace iqrx::platform {

// The text in double quotes, escaped; bytes that are not UTF-8 become U+FFFD.
std::string JsonText(std::string_view text);

// Numbers are numbers, Null, Empty and objects are null; dates are texts in the form that `dateText` gives.
std::string JsonValue(const Value& value, std::string (*dateText)(Date));

}  // namespace iqrx::platform
