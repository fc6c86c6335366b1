// Tells a sample that the tool has written from an extract of a site, which must not be overwritten.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace iqrx::qrxctl {

// The file in a sample's directory that lists the others, each with its size and a digest.
inline constexpr const char* kSampleMark = ".qrxctl-sample";

// The first file of the directory that a sample must not overwrite: one that no mark lists, or one that has
// changed since. Empty when a sample may be written there; files other than an extract's may lie beside a
// marked one. Raises RuntimeError when the directory cannot be looked at.
std::string FirstForeignFile(const std::filesystem::path& directory);

struct Marked {
    std::int64_t files = 0, bytes = 0;
};
// Lists what the directory holds of an extract. Raises RuntimeError.
Marked MarkSample(const std::filesystem::path& directory);

}  // namespace iqrx::qrxctl
