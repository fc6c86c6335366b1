#include "qrxctl/sample_mark.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <vector>

#include "platform/error.h"
#include "platform/printable.h"
#include "platform/source_file.h"
#include "platform/text.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;

// Of the beginning, the end and the size: files are large, and an export of other data begins or ends otherwise.
std::uint64_t Digest(std::string_view bytes, std::uint64_t before = 0xcbf29ce484222325ULL) {
    for (const char c : bytes) before = (before ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    return before;
}

constexpr std::uintmax_t kPart = 16384;

[[noreturn]] void RaiseUnreadable(const fs::path& file, const std::error_code& error) {
    throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                 platform::Shown(file) + " cannot be read: " + platform::CauseOf(error));
}

std::string LineOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(file, failure);
    if (!stream || failure)
        RaiseUnreadable(file, failure ? failure : std::make_error_code(std::errc::io_error));
    std::array<char, kPart> part{};
    const auto partAt = [&](std::uintmax_t from) {
        stream.clear();
        stream.seekg(static_cast<std::streamoff>(from));
        stream.read(part.data(), part.size());
        return std::string_view(part.data(), static_cast<std::size_t>(stream.gcount()));
    };
    std::uint64_t digest = Digest(partAt(0));
    if (size > kPart) digest = Digest(partAt(size - kPart), digest);
    return fmt::format("{} {} {:016x}", platform::Utf8(file.filename()), size, digest);
}

// What a copy reads: the files that a sample has, and the moment of an export, which a sample has not.
bool IsOfAnExtract(const fs::path& file) {
    return platform::EqualIgnoringCase(platform::Utf8(file.extension()), ".csv") ||
           file.filename() == "EXPORTED";
}

std::vector<fs::path> FilesOf(const fs::path& directory) {
    std::vector<fs::path> files;
    std::error_code failure;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure))
        files.push_back(entry->path());
    if (failure) RaiseUnreadable(directory, failure);
    std::ranges::sort(files);
    return files;
}

std::vector<std::string> MarkedLines(const fs::path& directory) {
    std::ifstream stream(directory / kSampleMark, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.emplace_back(platform::Trim(line));
    return lines;
}

}  // namespace

std::string FirstForeignFile(const fs::path& directory) {
    std::error_code unknown;
    if (!fs::exists(directory, unknown)) return {};
    const std::vector<fs::path> files = FilesOf(directory);
    const std::vector<std::string> own = MarkedLines(directory);
    const auto isForeign = [&](const fs::path& file) {
        if (own.empty()) return true;
        return IsOfAnExtract(file) && std::ranges::find(own, LineOf(file)) == own.end();
    };
    const auto found = std::ranges::find_if(files, isForeign);
    return found == files.end() ? std::string() : platform::Shown(found->filename());
}

Marked MarkSample(const fs::path& directory) {
    Marked marked;
    std::string lines;
    for (const fs::path& file : FilesOf(directory)) {
        if (!IsOfAnExtract(file)) continue;
        lines += LineOf(file) + '\n';
        ++marked.files;
        marked.bytes += static_cast<std::int64_t>(fs::file_size(file));
    }
    std::ofstream stream(directory / kSampleMark, std::ios::binary | std::ios::trunc);
    stream << lines;
    stream.close();
    if (!stream)
        platform::RaiseRuntimeError(platform::kPathFileAccess, platform::Shown(directory / kSampleMark));
    return marked;
}

}  // namespace iqrx::qrxctl
