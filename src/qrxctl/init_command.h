// Puts schema and catalog of the local database in place.
#pragma once

#include <filesystem>

#include "hosting/composition.h"
#include "qrxctl/options.h"

namespace iqrx::qrxctl {

// Reads the files of `schemaFolder`; rows that the database has already stay as they are. An embedded
// database is created when its file is missing. Raises RuntimeError.
void Init(hosting::Composition& parts, const Options& options, const std::filesystem::path& schemaFolder);

}  // namespace iqrx::qrxctl
