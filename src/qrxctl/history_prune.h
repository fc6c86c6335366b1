// Takes away what is old: runs of the history, run logs and undo files.
#pragma once

#include <string>
#include <vector>

#include "qrxctl/books.h"

namespace iqrx::qrxctl {

struct Pruned {
    std::string before;  // the day, YYYY-MM-DD
    journal::History::Pruned runs;
    std::int64_t logs = 0, undoFiles = 0;
    std::vector<std::string> problems;  // what could not be looked through or removed, a line each
};

// What is from before the moment. Raises RuntimeError when the history cannot be written.
Pruned Prune(Books& books, const journal::Timestamp& before, const std::filesystem::path& logDirectory);

}  // namespace iqrx::qrxctl
