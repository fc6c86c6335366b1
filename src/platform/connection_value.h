// Numbers among the values of a connection string.
#pragma once

#include <optional>
#include <string_view>

namespace iqrx::platform {

// The whole text as a number from `least` to `most`; nothing when it is none.
std::optional<int> WholeNumber(std::string_view value, int least, int most);

// The value of Rows per Trip, which every adapter that has it reads in the same way: from 1 to 10000. Raises
// RuntimeError when it is none.
int RowsPerTrip(std::string_view value);

}  // namespace iqrx::platform
