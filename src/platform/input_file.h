// A file that is read from any place, and what tells that somebody has written to it meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>

namespace iqrx::platform {

// Another one after every write. A pipe's never changes.
struct FileState {
    std::uint64_t size = 0;
    std::int64_t lastWrite = 0;  // in the system's own units
    bool operator==(const FileState&) const = default;
};

// Every member raises std::system_error. An open file stays the one that was opened, whatever its name comes
// to stand for.
class InputFile {
public:
    virtual ~InputFile() = default;
    // Fills the buffer from the byte at `offset` on, of a pipe with the bytes that come next. Returns how
    // many they are; 0 only at the end.
    virtual std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) = 0;
    virtual FileState State() = 0;
};

// Raises std::system_error; for a directory std::errc::is_a_directory on every system.
std::unique_ptr<InputFile> OpenInputFile(const std::filesystem::path& file);

}  // namespace iqrx::platform
