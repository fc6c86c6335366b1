// The ERP served from a directory of CSV files: TABLE.csv holds a table's current records, TABLE.audit.csv
// its audit trail, calendars.csv the actual calendar intervals. Files are read as streams, row by row, as
// the copy asks for them.
#pragma once

#include <filesystem>
#include <memory>

#include "erp/erp.h"

namespace iqrx::erp::extract {

// Raises RuntimeError that names the directory when there is none. Everything that its objects raise later
// has the source "ERP extract" and names the file, for a malformed row its line and column too.
std::unique_ptr<Erp> OpenExtract(const std::filesystem::path& directory, Notice notice = {});

}  // namespace iqrx::erp::extract
