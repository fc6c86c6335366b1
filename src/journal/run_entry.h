// A run as a line of the history.
#pragma once

#include <string>
#include <string_view>

#include "journal/history.h"

namespace iqrx::journal {

std::string LineOf(const RunEntry& entry);  // with its line break
// In place of what the entry held, whose room serves again. False: the line is damaged, or not a run; the
// entry is anything then.
bool ReadEntry(std::string_view line, RunEntry& entry);

}  // namespace iqrx::journal
