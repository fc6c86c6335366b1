// What the audit trail of a table does not carry.
#pragma once

#include <string_view>
#include <vector>

#include "engine/table.h"

namespace iqrx::engine {

// The columns that an incremental copy leaves blank: neither keys nor asked for. Only a full copy fills them.
std::vector<std::string_view> ColumnsBesideTrail(const Table& table);

}  // namespace iqrx::engine
