#include "platform/input_file.h"

#include <algorithm>
#include <limits>
#include <system_error>

#include "platform/windows/files.h"

namespace iqrx::platform {

namespace {

[[noreturn]] void Raise(DWORD error) {
    throw std::system_error(static_cast<int>(error), std::system_category());
}

std::uint64_t Joined(DWORD high, DWORD low) { return (std::uint64_t{high} << 32U) | low; }

class WindowsFile final : public InputFile {
public:
    explicit WindowsFile(windows::Handle handle) : handle_(std::move(handle)) {}

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(offset);
        place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
        const auto wanted = static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
        DWORD got = 0;
        if (ReadFile(handle_.Get(), buffer, wanted, &got, &place)) return got;
        const DWORD error = GetLastError();
        if (error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE) return 0;
        Raise(error);
    }

    FileState State() override {
        if (GetFileType(handle_.Get()) != FILE_TYPE_DISK) return {};
        BY_HANDLE_FILE_INFORMATION now{};
        if (!GetFileInformationByHandle(handle_.Get(), &now)) Raise(GetLastError());
        return {Joined(now.nFileSizeHigh, now.nFileSizeLow),
                static_cast<std::int64_t>(
                    Joined(now.ftLastWriteTime.dwHighDateTime, now.ftLastWriteTime.dwLowDateTime))};
    }

private:
    windows::Handle handle_;
};

}  // namespace

std::unique_ptr<InputFile> OpenInputFile(const std::filesystem::path& file) {
    // Nobody is kept from replacing the file, or from writing to it.
    windows::Handle handle(CreateFileW(file.c_str(), GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (handle) return std::make_unique<WindowsFile>(std::move(handle));
    const DWORD error = GetLastError();
    if (windows::Has(file, FILE_ATTRIBUTE_DIRECTORY))
        throw std::system_error(std::make_error_code(std::errc::is_a_directory));
    Raise(error);
}

}  // namespace iqrx::platform
