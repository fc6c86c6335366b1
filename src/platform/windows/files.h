// Files of Win32, as whoever writes them opens them.
#pragma once

#include <filesystem>
#include <utility>

#include "platform/windows/com.h"

namespace iqrx::platform::windows {

class Handle {
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
    Handle& operator=(Handle other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Handle(const Handle&) = delete;
    ~Handle() { Close(); }
    void Close() {
        if (*this) CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE));
    }
    explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_;
};

// A link is opened as itself, so that nobody can have another file written.
inline Handle Open(const std::filesystem::path& file, DWORD access, DWORD share, DWORD creation) {
    return Handle(CreateFileW(file.c_str(), access, share, nullptr, creation,
                              FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

inline bool Has(const std::filesystem::path& file, DWORD attribute) {
    const DWORD attributes = GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) != 0;
}

inline bool IsRegular(const Handle& file) {
    BY_HANDLE_FILE_INFORMATION information{};
    return GetFileType(file.Get()) == FILE_TYPE_DISK &&
           GetFileInformationByHandle(file.Get(), &information) != 0 &&
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

}  // namespace iqrx::platform::windows
