// The ERP served from a directory of CSV files: TABLE.csv holds a table's current records, TABLE.audit.csv
// its audit trail, calendars.csv the actual calendar intervals. Files are read as streams, row by row, as
// the copy asks for them.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "erp/erp.h"

namespace iqrx::erp::extract {

// Raises RuntimeError that names the directory when there is none. Everything that its objects raise later
// has the source "ERP extract" and names the file, for a malformed row its line and column too.
// `notice` is told, in one line, what does not stop a copy but should be known.
std::unique_ptr<Erp> OpenExtract(const std::filesystem::path& directory,
                                 std::function<void(const std::string& text)> notice = {});

}  // namespace iqrx::erp::extract
