#include "erp/extract/source_file.h"

#include <system_error>
#include <utility>

#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

namespace {

[[noreturn]] void RaiseMissing(const std::filesystem::path& file) {
    const std::filesystem::path directory = file.parent_path();
    std::error_code unknown;
    if (!directory.empty() && !std::filesystem::exists(directory, unknown) && !unknown)
        Raise(platform::kPathNotFound,
              Shown(file) + " does not exist: there is no directory " + Shown(directory));
    Raise(platform::kFileNotFound, Shown(file) + " does not exist");
}

std::unique_ptr<platform::InputFile> Open(const std::filesystem::path& file) {
    try {
        return platform::OpenInputFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) RaiseMissing(file);
        RaiseUnreadable(Shown(file), error.code());
    }
}

}  // namespace

SourceFile::SourceFile(const std::filesystem::path& file) : SourceFile(Shown(file), Open(file)) {}

SourceFile::SourceFile(std::string name, std::unique_ptr<platform::InputFile> input)
    : name_(std::move(name)), input_(std::move(input)), opened_(State()) {}

std::size_t SourceFile::Read(std::uint64_t offset, char* buffer, std::size_t size) {
    std::size_t got = 0;
    try {
        got = input_->Read(offset, buffer, size);
    } catch (const std::system_error& error) {
        RaiseUnreadable(name_, error.code());
    }
    if (State() != opened_) Raise(platform::kPathFileAccess, name_ + ": the file changed while it was read");
    return got;
}

platform::FileState SourceFile::State() {
    try {
        return input_->State();
    } catch (const std::system_error& error) {
        RaiseUnreadable(name_, error.code());
    }
}

}  // namespace iqrx::erp::extract
