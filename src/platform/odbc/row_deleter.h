// Deletes a row that was read, by a searched DELETE: positioned ones need cursors that few drivers offer and
// that would have to stay open.
#pragma once

#include <string>
#include <vector>

#include "platform/odbc/cursor.h"

namespace iqrx::platform::odbc {

// Deletes the one row that holds these values: by the table's primary key, or by all columns whose values
// compare exactly where it has none. Raises RuntimeError when no row holds them any more or when they don't
// tell it from others; nothing is deleted then.
void DeleteRow(OdbcConnection& connection, const std::string& table, const std::vector<Column>& columns,
               const Row& row);

}  // namespace iqrx::platform::odbc
