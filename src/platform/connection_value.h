// Numbers among the values of a connection string.
#pragma once

#include <optional>
#include <string_view>

#include "platform/error.h"
#include "platform/number.h"

namespace iqrx::platform {

// The whole text as a number from `least` to `most`; nothing when it is none.
inline std::optional<int> WholeNumber(std::string_view value, int least, int most) {
    const auto number = NumberFrom<int>(value);
    return number && *number >= least && *number <= most ? number : std::nullopt;
}

// The value of Rows per Trip, which every adapter that has it reads in the same way: from 1 to 10000. Raises
// RuntimeError when it is none.
inline int RowsPerTrip(std::string_view value) {
    if (const auto rows = WholeNumber(value, 1, 10000)) return *rows;
    RaiseRuntimeError(kInvalidProcedureCall,
                      "the value of Rows per Trip is not a whole number from 1 to 10000");
}

}  // namespace iqrx::platform
