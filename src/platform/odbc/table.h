// The table that a recordset's text stands for, by name.
#pragma once

#include <string>
#include <string_view>

#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {

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

// The last part of a written name as the catalog keeps it.
std::string CatalogName(std::string_view written, NameCase nameCase);

// The same in small letters, whatever the catalog's.
std::string LastPart(std::string_view written);

// The name in the driver's quotes, for a statement.
std::string QuotedName(const std::string& name, const DriverTraits& driver);

}  // namespace iqrx::platform::odbc
