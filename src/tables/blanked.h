// Rows that incremental copies left blank in part, because the trail does not carry all of their columns.
#pragma once

#include <string_view>
#include <vector>

namespace iqrx::tables {

// The columns of a table that an incremental copy writes as empty texts and only a full copy fills. Empty for the
// tables whose trail carries every column, and for orders, whose incremental copy keeps what it does not know.
std::vector<std::string_view> BlankedColumns(std::string_view table);

}  // namespace iqrx::tables
