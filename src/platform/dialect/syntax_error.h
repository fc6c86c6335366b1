// What is wrong with a statement's text.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/dialect/grammar.h"

namespace iqrx::platform::dialect {

// Raises it, quoting the text from `place` on.
[[noreturn]] void RaiseSyntaxError(const Grammar& grammar, std::string_view text, std::size_t place,
                                   std::string_view message, std::string_view sqlState = "42000");

}  // namespace iqrx::platform::dialect
