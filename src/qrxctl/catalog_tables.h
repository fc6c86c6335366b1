// The catalog's tables, by the names that an operator types.
#pragma once

#include <string>
#include <vector>

#include "control/table_catalog.h"

namespace iqrx::qrxctl {

std::vector<std::string> TablesOf(const control::TableCatalog& catalog);  // in the order of their ids

// As the catalog writes them; a table that is named twice is there once. Raises UsageError for an unknown one.
std::vector<std::string> TablesNamed(const control::TableCatalog& catalog,
                                     const std::vector<std::string>& names);

}  // namespace iqrx::qrxctl
