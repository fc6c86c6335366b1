// Puts schema and catalog of the local database in place.
#pragma once

#include <filesystem>
#include <iostream>

#include "qrxctl/command.h"

namespace iqrx::qrxctl {

struct Initialised {
    int tables = 0;                   // of the schema, there before or not
    int entries = 0, newEntries = 0;  // of the catalog
};

// Reads the files of `schemaFolder`; rows that the database has already stay as they are. An embedded
// database is created when its file is missing. A database that takes a small letter for its capital gets one
// line on `warnings`. Raises RuntimeError.
Initialised Init(hosting::Composition& parts, const Options& options,
                 const std::filesystem::path& schemaFolder, std::ostream& warnings = std::cerr);

}  // namespace iqrx::qrxctl
