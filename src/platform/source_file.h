// A file of records, open for reading. All its readers see it as it was when it was opened: what somebody
// writes to it meanwhile is an error, since it would hand out a mixture of two exports.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/error.h"
#include "platform/input_file.h"

namespace iqrx::platform {

// Every member raises RuntimeError that names the file; `errorSource` is the error's source.
class SourceFile {
public:
    SourceFile(const std::filesystem::path& file, std::string_view errorSource);
    SourceFile(std::string name, std::unique_ptr<InputFile> input, std::string_view errorSource);

    const std::string& Name() const { return name_; }

    // Fills the buffer from the byte at `offset` on; 0 at the end.
    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size);

    [[noreturn]] void Raise(ErrorNumber number, const std::string& description) const;

private:
    FileState State();

    const std::string errorSource_, name_;
    std::unique_ptr<InputFile> input_;
    FileState opened_;
};

// Why a file cannot be read, in the same words on every system where the cause is a usual one.
std::string CauseOf(const std::error_code& error);

}  // namespace iqrx::platform
