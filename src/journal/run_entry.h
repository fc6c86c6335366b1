// A run as a line of the history.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "journal/history.h"

namespace iqrx::journal {

std::string LineOf(const RunEntry& entry);  // with its line break
// Nothing: the line is damaged, or not a run.
std::optional<RunEntry> ReadEntry(std::string_view line);

}  // namespace iqrx::journal
