// JSON objects without objects or lists in them: run sheets and the lines of the history.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <variant>

namespace iqrx::journal {

// Null is monostate.
using Scalar = std::variant<std::monostate, bool, std::int64_t, double, std::string_view>;

// Hands over the members in their order; lists and objects in them are passed over. False: the text is not
// one whole object, and what could be read of it was handed over.
bool ReadObject(std::string_view text,
                const std::function<void(std::string_view key, const Scalar& value)>& take);

}  // namespace iqrx::journal
