// What a text's bytes are.
#pragma once

#include <string_view>

namespace iqrx::platform {

bool IsAscii(std::string_view text);
bool IsUtf8(std::string_view text);  // quick where it is ASCII

}  // namespace iqrx::platform
