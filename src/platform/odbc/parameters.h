// Values bound by position to the parameter markers of a prepared text, one set per row.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "platform/odbc/cursor.h"

namespace iqrx::platform::odbc {

// The values of one marker over all sets, in the driver's form.
struct ParameterArray {
    std::int16_t valueType = 0;
    std::int16_t sqlType = 0;
    std::size_t columnSize = 1;
    std::size_t width = 0;  // bytes of one value
    std::vector<std::byte> values;
    std::vector<std::int64_t> lengths;  // bytes, or the driver's mark for Null
};

// A text with markers, prepared once and executed for any number of sets.
class PreparedText {
public:
    // `kinds` are the kinds of the markers, in their order. Raises RuntimeError, as all members do.
    PreparedText(OdbcConnection& connection, std::string_view text, std::vector<Kind> kinds);

    // The sets that one execution takes at most; 1 when the driver has no arrays.
    std::size_t MaxSets() const { return maxSets_; }
    // Executes for all sets, at most MaxSets, and returns the rows affected. A set that fails raises its
    // error; whether the sets after it were executed is the driver's affair.
    std::int32_t Execute(std::span<const Row> sets);

    // Executes for one set and returns the number in the first column of the first row.
    std::int64_t ReadNumber(const Row& set);

private:
    std::vector<ParameterArray> Bind(std::span<const Row> sets);

    OdbcConnection& connection_;
    Handle statement_;
    std::vector<Kind> kinds_;
    std::size_t maxSets_ = 1;
};

}  // namespace iqrx::platform::odbc
