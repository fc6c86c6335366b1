#include "platform/posix/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/error.h"

namespace iqrx::platform::posix {

namespace {

constexpr mode_t kOwnerWritesGroupReads = 0640;

int FlagsOf(RegularFile::Purpose purpose) {
    // Without O_NONBLOCK the opening of a FIFO would wait for its other end. A file to be replaced is emptied
    // only when it is known to be one.
    constexpr int kAlways = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    switch (purpose) {
        case RegularFile::Purpose::Read:
            return kAlways | O_RDONLY;
        case RegularFile::Purpose::Append:
            return kAlways | O_WRONLY | O_CREAT | O_APPEND;
        case RegularFile::Purpose::Replace:
            break;
    }
    return kAlways | O_WRONLY | O_CREAT;
}

std::string LastError() {
    if (errno == ELOOP) return "it is a link";
    if (errno == ENXIO) return "it is not a regular file";
    return std::system_category().message(errno);
}

}  // namespace

RegularFile::RegularFile(const std::filesystem::path& file, Purpose purpose)
    : name_(file.string()), descriptor_(open(file.c_str(), FlagsOf(purpose), kOwnerWritesGroupReads)) {
    if (descriptor_ < 0)
        RaiseRuntimeError(errno == ENOENT && purpose == Purpose::Read ? kFileNotFound : kPathFileAccess,
                          name_ + ": " + LastError());
    struct stat status {};
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor_);
        RaiseRuntimeError(kPathFileAccess, name_ + ": it is not a regular file");
    }
    if (purpose == Purpose::Replace && ftruncate(descriptor_, 0) != 0) {
        close(descriptor_);
        RaiseRuntimeError(kPathFileAccess, name_ + ": " + LastError());
    }
}

RegularFile::~RegularFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

std::size_t RegularFile::Read(std::span<char> buffer) {
    for (;;) {
        const ssize_t got = read(descriptor_, buffer.data(), buffer.size());
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR) Raise();
    }
}

void RegularFile::Write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor_, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            Raise();
    }
}

void RegularFile::Close() {
    if (descriptor_ >= 0 && close(std::exchange(descriptor_, -1)) != 0) Raise();
}

void RegularFile::Raise() const { RaiseRuntimeError(kDeviceIoError, name_ + ": " + LastError()); }

}  // namespace iqrx::platform::posix
