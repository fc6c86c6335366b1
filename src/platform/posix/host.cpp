#include "platform/posix/machine.h"

#include <fcntl.h>
#include <limits.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <fstream>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/error.h"
#include "platform/posix/descriptor.h"
#include "platform/text.h"

namespace iqrx::platform::posix {

namespace {

[[noreturn]] void Raise(const std::filesystem::path& file, const std::string& cause) {
    throw RuntimeError(kPathFileAccess, kProgram, Utf8(file) + ": " + cause);
}

[[noreturn]] void RaiseLastError(const std::filesystem::path& file) {
    Raise(file, errno == ELOOP ? "it is a link" : std::system_category().message(errno));
}

// False: another one's lock stands against it.
bool Lock(const Descriptor& file, int kind, const std::filesystem::path& name) {
    for (;;) {
        if (flock(file.Number(), kind | LOCK_NB) == 0) return true;
        if (errno == EWOULDBLOCK) return false;
        if (errno != EINTR) RaiseLastError(name);
    }
}

struct stat StatusOf(const Descriptor& file, const std::filesystem::path& name) {
    struct stat status {};
    if (fstat(file.Number(), &status) != 0) RaiseLastError(name);
    if (!S_ISREG(status.st_mode)) Raise(name, "it is not a regular file");
    return status;
}

// Whether the name still stands for the open file: its last holder may have removed it.
bool IsNamed(const Descriptor& file, const std::filesystem::path& name) {
    const struct stat open = StatusOf(file, name);
    struct stat named {};
    if (lstat(name.c_str(), &named) != 0) {
        if (errno == ENOENT) return false;
        RaiseLastError(name);
    }
    return open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

class LockedFile final : public HeldFile {
public:
    LockedFile(Descriptor descriptor, std::filesystem::path name, bool isNew)
        : descriptor_(std::move(descriptor)), name_(std::move(name)), isNew_(isNew) {}

    bool IsNew() const override { return isNew_; }

    void Write(std::string_view text) override {
        if (lseek(descriptor_.Number(), 0, SEEK_SET) != 0 || !descriptor_.Write(text) ||
            ftruncate(descriptor_.Number(), static_cast<off_t>(text.size())) != 0)
            RaiseLastError(name_);
    }

    void Remove() noexcept override {
        // While it is still held: nobody else can be the one whose file this removes.
        try {
            if (IsNamed(descriptor_, name_)) unlink(name_.c_str());
        } catch (const RuntimeError&) {
        }
        descriptor_.Close();
    }

private:
    Descriptor descriptor_;
    const std::filesystem::path name_;
    const bool isNew_;
};

// A file that is held before it has its name, so that nobody finds a new one free: such a one was left by a
// process that is gone. Nothing: the name is taken, or the file system knows no second name for a file, and
// `create` is then set for the next try.
std::optional<Descriptor> CreateHeld(const std::filesystem::path& name, const std::filesystem::path& fresh,
                                     int& create) {
    Descriptor created(open(fresh.c_str(), kAlways | O_RDWR | O_CREAT | O_EXCL, kOwnerWritesGroupReads));
    if (!created) RaiseLastError(name);
    const bool named = Lock(created, LOCK_EX, name) && link(fresh.c_str(), name.c_str()) == 0;
    if (!named && errno != EEXIST) create = O_CREAT;
    unlink(fresh.c_str());
    if (!named) return std::nullopt;
    return created;
}

// Whether the file is held for itself by somebody, and not only asked about.
bool IsTaken(const Descriptor& file, const std::filesystem::path& name) {
    if (!Lock(file, LOCK_SH, name)) return true;
    flock(file.Number(), LOCK_UN);
    return false;
}

std::string UserName() {
    std::vector<char> buffer(16384);
    struct passwd entry {};
    struct passwd* found = nullptr;
    const uid_t user = geteuid();
    if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return entry.pw_name;
    return std::to_string(user);
}

std::string Terminal() {
    constexpr std::string_view kDevices = "/dev/";
    std::array<char, PATH_MAX> buffer{};
    for (const int stream : {STDIN_FILENO, STDERR_FILENO, STDOUT_FILENO}) {
        if (ttyname_r(stream, buffer.data(), buffer.size()) != 0) continue;
        const std::string_view name = buffer.data();
        return std::string(name.starts_with(kDevices) ? name.substr(kDevices.size()) : name);
    }
    return {};
}

class PosixHost final : public Host {
public:
    ProcessIdentity Self() const override {
        std::array<char, HOST_NAME_MAX + 1> name{};
        if (gethostname(name.data(), name.size() - 1) != 0) name[0] = '\0';
        return {getpid(), UserName(), name.data(), Terminal()};
    }

    Date LocalTime(std::chrono::system_clock::time_point moment) const override {
        const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(moment.time_since_epoch()).count();
        std::tm local{};
        localtime_r(&seconds, &local);
        return {seconds + local.tm_gmtoff};
    }

    std::chrono::seconds Uptime() const override {
        timespec now{};
        clock_gettime(CLOCK_BOOTTIME, &now);
        return std::chrono::seconds(now.tv_sec);
    }

    std::string Boot() const override {
        std::ifstream file("/proc/sys/kernel/random/boot_id");
        std::string boot;
        std::getline(file, boot);
        return boot;
    }

    std::unique_ptr<HeldFile> TryHold(const std::filesystem::path& file) override {
        int create = 0;
        constexpr int kTries = 500;
        for (int attempt = 0; attempt < kTries; ++attempt) {
            Descriptor existing(open(file.c_str(), kAlways | O_RDWR | create, kOwnerWritesGroupReads));
            if (!existing && errno != ENOENT) RaiseLastError(file);
            if (!existing) {
                if (auto created = CreateHeld(file, FreshName(file), create))
                    return std::make_unique<LockedFile>(std::move(*created), file, true);
            } else if (Lock(existing, LOCK_EX, file)) {
                const bool isNew = create != 0 && StatusOf(existing, file).st_size == 0;
                if (IsNamed(existing, file))
                    return std::make_unique<LockedFile>(std::move(existing), file, isNew);
            } else if (IsTaken(existing, file)) {
                return nullptr;
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        return nullptr;
    }

    bool IsHeld(const std::filesystem::path& file) override {
        const Descriptor existing(open(file.c_str(), kAlways | O_RDONLY));
        if (existing) return StatusOf(existing, file).st_nlink > 0 && IsTaken(existing, file);
        if (errno == ENOENT) return false;
        RaiseLastError(file);
    }

    void Replace(const std::filesystem::path& file, std::string_view text) override {
        const std::filesystem::path fresh = FreshName(file);
        struct stat before {};
        const bool exists = lstat(file.c_str(), &before) == 0 && S_ISREG(before.st_mode);
        const Descriptor created(
            open(fresh.c_str(), kAlways | O_WRONLY | O_CREAT | O_EXCL, kOwnerWritesGroupReads));
        if (!created) RaiseLastError(file);
        try {
            constexpr mode_t kPermissions = 0777;
            if (exists && fchmod(created.Number(), before.st_mode & kPermissions) != 0) RaiseLastError(file);
            if (!created.Write(text) || fdatasync(created.Number()) != 0) RaiseLastError(file);
            if (rename(fresh.c_str(), file.c_str()) != 0) RaiseLastError(file);
        } catch (const RuntimeError&) {
            unlink(fresh.c_str());
            throw;
        }
    }

private:
    // Beside the file.
    std::filesystem::path FreshName(const std::filesystem::path& file) {
        std::filesystem::path fresh = file;
        fresh += "." + std::to_string(getpid()) + "-" + std::to_string(++names_) + ".new";
        return fresh;
    }

    std::atomic<int> names_ = 0;
};

}  // namespace

std::unique_ptr<Host> CreateHost() { return std::make_unique<PosixHost>(); }

}  // namespace iqrx::platform::posix
