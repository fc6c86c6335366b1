#include "journal/files.h"

#include <array>
#include <cstring>
#include <system_error>

#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

constexpr std::size_t kBufferSize = 1 << 20;

[[noreturn]] void Raise(const std::filesystem::path& file, const std::string& cause) {
    throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                 platform::Utf8(file) + ": " + cause);
}

std::size_t Read(platform::InputFile& file, std::uint64_t offset, char* buffer, std::size_t size,
                 const std::filesystem::path& name) {
    try {
        return file.Read(offset, buffer, size);
    } catch (const std::system_error& error) {
        Raise(name, error.code().message());
    }
}

}  // namespace

std::unique_ptr<platform::InputFile> OpenRegular(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) return nullptr;
    if (error) Raise(file, error.message());
    if (!is_regular_file(status)) Raise(file, "it is not a regular file");
    try {
        return platform::OpenInputFile(file);
    } catch (const std::system_error& failure) {
        if (failure.code() == std::errc::no_such_file_or_directory) return nullptr;
        Raise(file, failure.code().message());
    }
}

std::optional<std::string> ReadText(const std::filesystem::path& file) {
    const auto opened = OpenRegular(file);
    if (!opened) return std::nullopt;
    std::string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t got = Read(*opened, text.size(), buffer.data(), buffer.size(), file))
        text.append(buffer.data(), got);
    return text;
}

LineReader::LineReader(const std::filesystem::path& file)
    : name_(file), file_(OpenRegular(file)), buffer_(file_ ? kBufferSize : 0) {}

std::optional<std::string_view> LineReader::Next() {
    if (!file_) return std::nullopt;
    bool atEnd = false;
    for (std::size_t looked = 0;;) {
        const std::string_view read(buffer_.data() + begin_, end_ - begin_);
        const auto lineEnd = read.find('\n', looked);
        const bool whole = lineEnd != std::string_view::npos;
        if (whole || atEnd || read.size() == buffer_.size()) {
            if (read.empty()) return std::nullopt;
            begin_ += whole ? lineEnd + 1 : read.size();
            ++number_;
            return read.substr(0, lineEnd);
        }
        looked = read.size();
        atEnd = !Fill();
    }
}

bool LineReader::Fill() {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    const std::size_t got = Read(*file_, offset_, buffer_.data() + end_, buffer_.size() - end_, name_);
    offset_ += got;
    end_ += got;
    return got > 0;
}

}  // namespace iqrx::journal
