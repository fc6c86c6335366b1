// The ledger as its file holds it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "journal/ledger.h"

namespace iqrx::journal {

using LedgerTables = std::map<std::string, TableLedger>;

std::string TextOf(const LedgerTables& tables);
// Nothing: the text is damaged. Raises RuntimeError when a newer version wrote it.
std::optional<LedgerTables> ReadLedger(std::string_view text);

}  // namespace iqrx::journal
