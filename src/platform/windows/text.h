// UTF-8 and the UTF-16 of the Windows calls.
#pragma once

#include "platform/text.h"

namespace iqrx::platform::windows {

inline std::wstring Wide(std::string_view utf8) {  // what is not UTF-8 becomes U+FFFD
    const std::u16string units = ToUtf16(utf8);
    return {units.begin(), units.end()};
}
inline std::string Utf8(std::wstring_view wide) { return ToUtf8(std::u16string(wide.begin(), wide.end())); }

}  // namespace iqrx::platform::windows
