#include "platform/source_file.h"

#include <utility>

#include "platform/printable.h"

namespace iqrx::platform {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Raise(std::string_view source, ErrorNumber number, const std::string& description) {
    throw RuntimeError(number, std::string(source), description);
}

[[noreturn]] void RaiseMissing(std::string_view source, const fs::path& file) {
    const fs::path directory = file.parent_path();
    std::error_code unknown;
    if (!directory.empty() && !fs::exists(directory, unknown) && !unknown)
        Raise(source, kPathNotFound,
              Shown(file) + " does not exist: there is no directory " + Shown(directory));
    Raise(source, kFileNotFound, Shown(file) + " does not exist");
}

[[noreturn]] void RaiseUnreadable(std::string_view source, const std::string& name,
                                  const std::error_code& error) {
    Raise(source, kPathFileAccess, name + " cannot be read: " + CauseOf(error));
}

std::unique_ptr<InputFile> Open(const fs::path& file, std::string_view errorSource) {
    try {
        return OpenInputFile(file);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) RaiseMissing(errorSource, file);
        RaiseUnreadable(errorSource, Shown(file), error.code());
    }
}

}  // namespace

SourceFile::SourceFile(const fs::path& file, std::string_view errorSource)
    : SourceFile(Shown(file), Open(file, errorSource), errorSource) {}

SourceFile::SourceFile(std::string name, std::unique_ptr<InputFile> input, std::string_view errorSource)
    : errorSource_(errorSource), name_(std::move(name)), input_(std::move(input)), opened_(State()) {}

std::size_t SourceFile::Read(std::uint64_t offset, char* buffer, std::size_t size) {
    std::size_t got = 0;
    try {
        got = input_->Read(offset, buffer, size);
    } catch (const std::system_error& error) {
        RaiseUnreadable(errorSource_, name_, error.code());
    }
    if (State() != opened_) Raise(kPathFileAccess, name_ + ": the file changed while it was read");
    return got;
}

void SourceFile::Raise(ErrorNumber number, const std::string& description) const {
    platform::Raise(errorSource_, number, description);
}

FileState SourceFile::State() {
    try {
        return input_->State();
    } catch (const std::system_error& error) {
        RaiseUnreadable(errorSource_, name_, error.code());
    }
}

std::string CauseOf(const std::error_code& error) {
    if (error == std::errc::permission_denied) return "Permission denied";
    if (error == std::errc::is_a_directory) return "it is a directory";
    return error.message();
}

}  // namespace iqrx::platform
