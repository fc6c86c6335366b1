// What a database's own language has for the words that the copy and its tools send, as data.
#pragma once

#include <string_view>

namespace iqrx::platform::dialect {

struct Grammar {
    std::string_view product;     // the source of errors in a text
    std::string_view place;       // of a value that is bound
    std::string_view empty;       // of "truncate table"
    std::string_view statistics;  // of "UPDATE STATISTICS"
};

}  // namespace iqrx::platform::dialect
