// The forms in which runs are shown.
#pragma once

#include <string>
#include <vector>

#include "journal/history.h"
#include "platform/machine.h"
#include "qrxctl/history_prune.h"

namespace iqrx::qrxctl {

// A line a run, without its table where there is but one; what does not fit on it stands on lines of its own.
std::string HistoryTable(const std::vector<journal::RunEntry>& newestFirst);

// Everything about one run: its tables and the lines of their run logs.
std::string RunText(const std::vector<journal::RunEntry>& entries, platform::Machine& machine,
                    const std::string& logDirectory);

// One object.
std::string HistoryJson(const std::vector<journal::RunEntry>& newestFirst, const journal::Damage& damage);

// What --prune removed, as facts or as one object.
std::string PrunedText(const Pruned& pruned);
std::string PrunedJson(const Pruned& pruned);

// "ok", "failed: the cause", "stopped by SIGINT (anna)".
std::string EndOf(const journal::RunEntry& entry);

}  // namespace iqrx::qrxctl
