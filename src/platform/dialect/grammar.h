// What a database's own language has for the words that the copy and its tools send, as data.
#pragma once

#include <cstddef>
#include <string_view>

namespace iqrx::platform::dialect {

struct Grammar {
    std::string_view product;        // the source of errors in a text
    std::string_view place;          // of a value that is bound
    bool placesAreNumbered = false;  // its number follows, from 1 in each statement
    bool valuesHaveSigns = false;    // a sign in front of a place is the value's
    std::string_view empty;          // of "truncate table"
    std::string_view statistics;     // of "UPDATE STATISTICS"
    // What follows a column of ORDER BY, so that rows without a value come first, as on SQL Server; empty
    // where they do by themselves.
    std::string_view ascending = {}, descending = {};
    bool ordersUnionsByResult = false;                 // by a column of the result, not by one of a table
    bool namesCatalog = false;                         // INFORMATION_SCHEMA.TABLE is one of its tables
    std::size_t longestName = std::string_view::npos;  // bytes; of a longer one it would take the beginning
};

// Raises what is wrong with a statement's text, quoting it from `place` on.
[[noreturn]] void RaiseSyntaxError(const Grammar& grammar, std::string_view text, std::size_t place,
                                   std::string_view message, std::string_view sqlState = "42000");

}  // namespace iqrx::platform::dialect
