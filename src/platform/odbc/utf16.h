// Texts at the driver's boundary. A sequence that is malformed on one side comes out as U+FFFD on the other.
#pragma once

#include <string>
#include <string_view>

namespace iqrx::platform::odbc {

std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view utf16);

}  // namespace iqrx::platform::odbc
