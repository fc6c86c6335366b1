// What a text does to the database, as far as its words tell.
#pragma once

#include <string>
#include <string_view>

namespace iqrx::platform::dialect {

// The one table that a SELECT reads, as it is written there; empty when it reads none or several.
std::string TableOf(std::string_view select);

// What a text does to the database, as far as its first words tell.
struct Change {
    enum class Kind {
        Nothing,  // it reads
        Rows,     // it changes rows: of `table`, or of tables that are not known, in a block
        Other     // anything else
    };
    Kind kind = Kind::Other;
    std::string table;
};
Change ChangeOf(std::string_view sql);

// Whether the text is a batch of statements, by its first word.
bool IsBatch(std::string_view sql);

// Where an UPDATE or INSERT of one table writes, for the reader of an error: the table, and the row by its
// condition or its first value. Empty for any other text.
std::string PlaceOf(std::string_view sql);

}  // namespace iqrx::platform::dialect
