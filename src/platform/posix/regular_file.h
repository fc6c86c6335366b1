// A regular file by its descriptor. Links are not followed and nothing else is opened: a link that somebody puts
// in the place of a log must not have its target written, and a FIFO must not make the copy wait for a reader.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace iqrx::platform::posix {

class RegularFile {
public:
    enum class Purpose { Read, Append, Replace };

    // A file to append to or to replace is created when it is missing, readable by its owner and group.
    // Raises RuntimeError that names the file: "file not found" for one to be read, else "path/file access".
    RegularFile(const std::filesystem::path& file, Purpose purpose);
    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;
    ~RegularFile();

    // Each raises RuntimeError "device I/O error" that names the file.
    std::size_t Read(std::span<char> buffer);  // 0 at the end
    void Write(std::string_view text);         // all of it
    void Close();

private:
    [[noreturn]] void Raise() const;

    std::string name_;
    int descriptor_;
};

}  // namespace iqrx::platform::posix
