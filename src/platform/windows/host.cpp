#include "platform/windows/machine.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>
#include <thread>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/windows/com_error.h"
#include "platform/windows/files.h"

namespace iqrx::platform::windows {

namespace {

constexpr DWORD kForAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

[[noreturn]] void Raise(const std::filesystem::path& file, DWORD error) {
    const std::string cause = ErrorOfCall(HRESULT_FROM_WIN32(error), nullptr, {}).description;
    throw RuntimeError(kPathFileAccess, kProgram, Utf8(file.native()) + ": " + cause);
}

void RequireRegular(const Handle& handle, const std::filesystem::path& file) {
    if (!IsRegular(handle))
        throw RuntimeError(kPathFileAccess, kProgram, Utf8(file.native()) + ": it is not a regular file");
}

void WriteAll(const Handle& handle, std::string_view text, const std::filesystem::path& file) {
    DWORD written = 0;
    if (WriteFile(handle.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0)
        Raise(file, GetLastError());
    if (written != text.size()) Raise(file, ERROR_DISK_FULL);
}

// Whether the error may be one of a moment: another program reads the file, or one that was removed is still
// open somewhere.
bool MayPass(DWORD error) { return error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED; }

// Tries until it succeeds or fails for good: zero, or the error.
template <class Call>
DWORD Patiently(Call call, int tries) {
    for (;;) {
        if (call()) return ERROR_SUCCESS;
        const DWORD error = GetLastError();
        if (!MayPass(error) || --tries == 0) return error;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

class ExclusiveFile final : public HeldFile {
public:
    ExclusiveFile(Handle handle, std::filesystem::path file, bool isNew)
        : handle_(std::move(handle)), file_(std::move(file)), isNew_(isNew) {}

    bool IsNew() const override { return isNew_; }

    void Write(std::string_view text) override {
        if (SetFilePointer(handle_.Get(), 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER)
            Raise(file_, GetLastError());
        WriteAll(handle_, text, file_);
        if (SetEndOfFile(handle_.Get()) == 0) Raise(file_, GetLastError());
    }

    void Remove() noexcept override {
        constexpr int kTries = 100;
        handle_.Close();
        // Who takes it in between shares it with nobody who removes: its file stays.
        Patiently([&] { return DeleteFileW(file_.c_str()) != 0; }, kTries);
    }

private:
    Handle handle_;
    const std::filesystem::path file_;
    const bool isNew_;
};

// Where a holder's lock lies: far from the text, which others read.
OVERLAPPED MarkOfHolder() {
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    return place;
}

// Nothing: it cannot be told, and GetLastError says why.
std::optional<bool> IsTaken(const std::filesystem::path& file) {
    const Handle asked = Open(file, GENERIC_READ, kForAll, OPEN_EXISTING);
    if (!asked) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) return false;
        return std::nullopt;
    }
    OVERLAPPED mark = MarkOfHolder();
    if (LockFileEx(asked.Get(), LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &mark) != 0) {
        UnlockFileEx(asked.Get(), 0, 1, 0, &mark);
        return false;
    }
    if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING) return true;
    return std::nullopt;
}

class WindowsHost final : public Host {
public:
    ProcessIdentity Self() const override {
        std::array<wchar_t, 512> user{}, host{};
        const wchar_t* const session = _wgetenv(L"SESSIONNAME");
        DWORD userSize = user.size(), hostSize = host.size();
        if (GetUserNameW(user.data(), &userSize) == 0) user[0] = L'\0';
        if (GetComputerNameExW(ComputerNamePhysicalDnsHostname, host.data(), &hostSize) == 0) host[0] = L'\0';
        return {static_cast<long>(GetCurrentProcessId()), Utf8(user.data()), Utf8(host.data()),
                Utf8(session ? session : L"")};
    }

    Date LocalTime(std::chrono::system_clock::time_point moment) const override {
        constexpr std::int64_t kTicks = 10'000'000, kSecondsFrom1601 = 11'644'473'600;
        const std::int64_t seconds =
            std::chrono::floor<std::chrono::seconds>(moment.time_since_epoch()).count();
        const std::int64_t ticks = (seconds + kSecondsFrom1601) * kTicks;
        const FILETIME time{static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME utc{}, local{};
        if (FileTimeToSystemTime(&time, &utc) == 0 ||
            SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) == 0)
            return {seconds};
        return FromCivil({local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond});
    }

    std::chrono::seconds Uptime() const override {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::milliseconds(GetTickCount64()));
    }

    std::string Boot() const override {
        constexpr const wchar_t* kKey =
            L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters";
        DWORD number = 0, size = sizeof number;
        if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, L"BootId", RRF_RT_REG_DWORD, nullptr, &number, &size) !=
            ERROR_SUCCESS)
            return {};
        return std::to_string(number);
    }

    std::unique_ptr<HeldFile> TryHold(const std::filesystem::path& file) override {
        constexpr int kTries = 500;
        Handle handle(INVALID_HANDLE_VALUE);
        bool taken = false, isNew = false;
        const DWORD error = Patiently(
            [&] {
                Handle opened = Open(file, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS);
                const DWORD failure = GetLastError();
                if (opened) {
                    RequireRegular(opened, file);
                    // It waits for those who ask, for a moment: nobody else can want it.
                    OVERLAPPED mark = MarkOfHolder();
                    LockFileEx(opened.Get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &mark);
                    isNew = failure != ERROR_ALREADY_EXISTS;
                    handle = std::move(opened);
                    return true;
                }
                taken = failure == ERROR_SHARING_VIOLATION && IsTaken(file) == true;
                SetLastError(failure);
                return taken;
            },
            kTries);
        if (taken || error == ERROR_SHARING_VIOLATION) return nullptr;
        if (error != ERROR_SUCCESS) Raise(file, error);
        return std::make_unique<ExclusiveFile>(std::move(handle), file, isNew);
    }

    bool IsHeld(const std::filesystem::path& file) override {
        constexpr int kTries = 50;
        std::optional<bool> taken;
        const auto isTold = [&] { return (taken = IsTaken(file)).has_value(); };
        if (const DWORD error = Patiently(isTold, kTries); error != ERROR_SUCCESS) Raise(file, error);
        return *taken;
    }

    void Replace(const std::filesystem::path& file, std::string_view text) override {
        constexpr int kTries = 1000;
        std::filesystem::path fresh = file;
        fresh += "." + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++names_) + ".new";
        Handle created = Open(fresh, GENERIC_WRITE, kForAll, CREATE_NEW);
        if (!created) Raise(file, GetLastError());
        try {
            WriteAll(created, text, file);
            if (FlushFileBuffers(created.Get()) == 0) Raise(file, GetLastError());
            created.Close();
            const auto isMoved = [&] {
                return MoveFileExW(fresh.c_str(), file.c_str(),
                                   MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
            };
            if (const DWORD error = Patiently(isMoved, kTries); error != ERROR_SUCCESS) Raise(file, error);
        } catch (const RuntimeError&) {
            created.Close();
            DeleteFileW(fresh.c_str());
            throw;
        }
    }

private:
    std::atomic<int> names_ = 0;
};

}  // namespace

std::unique_ptr<Host> CreateHost() { return std::make_unique<WindowsHost>(); }

}  // namespace iqrx::platform::windows
