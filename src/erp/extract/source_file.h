// A file of the extract, open for reading. All its readers see it as it was when it was opened: what somebody
// writes to it meanwhile is an error, since it would hand out a mixture of two exports.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/input_file.h"

namespace iqrx::erp::extract {

// Every member raises RuntimeError that names the file.
class SourceFile {
public:
    explicit SourceFile(const std::filesystem::path& file);
    SourceFile(std::string name, std::unique_ptr<platform::InputFile> input);

    const std::string& Name() const { return name_; }

    // Fills the buffer from the byte at `offset` on; 0 at the end.
    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size);

private:
    platform::FileState State();

    std::string name_;
    std::unique_ptr<platform::InputFile> input_;
    platform::FileState opened_;
};

}  // namespace iqrx::erp::extract
