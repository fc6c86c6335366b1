// Which tables a command is meant for.
#pragma once

#include <string>
#include <vector>

#include "control/table_catalog.h"

namespace iqrx::qrxctl {

std::vector<std::string> TablesOf(const control::TableCatalog& catalog);  // in the order of their ids
std::vector<std::string> TablesWithACopy();                               // whatever the catalog lists

// The tables of `known` that the words name, in the order of `known`, each once: names ("tssoc200"), lists of
// them with commas, patterns ("tssoc*", "ts?dm030") and groups ("master", "configuration", "orders",
// "calendars"). Large and small letters are the same. Raises UsageError for a word that names none.
std::vector<std::string> ChooseTables(const std::vector<std::string>& known,
                                      const std::vector<std::string>& wanted);

// The shortest words that name these tables of the catalog and no other, for a command: "--all", groups, names.
std::string WordsFor(const std::vector<std::string>& tables, const std::vector<std::string>& catalog);

// The group of a table; empty for one that is in none.
std::string GroupOf(const std::string& table);

}  // namespace iqrx::qrxctl
