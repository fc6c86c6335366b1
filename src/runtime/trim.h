#pragma once

#include "platform/text.h"

namespace iqrx::runtime {

constexpr std::string_view Trim(std::string_view text) { return platform::Trim(text, " "); }

}  // namespace iqrx::runtime
