// Takes away what is old: runs of the history, run logs and undo files.
#pragma once

#include <string>

#include "qrxctl/books.h"

namespace iqrx::qrxctl {

// What is from before the moment; the facts as lines. Raises RuntimeError when the history cannot be written.
std::string Prune(Books& books, const journal::Timestamp& before, const std::filesystem::path& logDirectory);

}  // namespace iqrx::qrxctl
