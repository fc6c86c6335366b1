// The schema of the embedded database, where the system has one.
#pragma once

#include <filesystem>
#include <string>

namespace iqrx::qrxctl {

// Applies the script when the connection string names the embedded database, which is created when its file
// is missing; false for every other connection string. Raises RuntimeError.
bool ApplyEmbeddedSchema(const std::string& connectionString, const std::filesystem::path& script);

std::string ReadScript(const std::filesystem::path& file);

}  // namespace iqrx::qrxctl
