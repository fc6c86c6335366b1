#include "platform/connection_value.h"

#include <charconv>

#include "platform/error.h"

namespace iqrx::platform {

std::optional<int> WholeNumber(std::string_view value, int least, int most) {
    int number = 0;
    const char* const last = value.data() + value.size();
    const auto [end, failure] = std::from_chars(value.data(), last, number);
    if (failure != std::errc() || end != last || number < least || number > most) return std::nullopt;
    return number;
}

int RowsPerTrip(std::string_view value) {
    const auto rows = WholeNumber(value, 1, 10000);
    if (!rows)
        RaiseRuntimeError(kInvalidProcedureCall,
                          "the value of Rows per Trip is not a whole number from 1 to 10000");
    return *rows;
}

}  // namespace iqrx::platform
