// UTF-8 and the UTF-16 of the Windows calls.
#pragma once

#include <string>
#include <string_view>

namespace iqrx::platform::windows {

std::wstring Wide(std::string_view utf8);  // what is not UTF-8 becomes U+FFFD
std::string Utf8(std::wstring_view wide);

}  // namespace iqrx::platform::windows
