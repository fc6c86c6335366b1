#pragma once

#include <string_view>

namespace iqrx::runtime {

// Without the blanks at both ends.
constexpr std::string_view Trim(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace iqrx::runtime
