#include "platform/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace iqrx::platform {

namespace {

[[noreturn]] void RaiseLastError() { throw std::system_error(errno, std::system_category()); }

class PosixFile final : public InputFile {
public:
    explicit PosixFile(int descriptor) : descriptor_(descriptor) {}
    ~PosixFile() override { close(descriptor_); }
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override {
        for (;;) {
            ssize_t got = pread(descriptor_, buffer, size, static_cast<off_t>(offset));
            if (got < 0 && errno == ESPIPE) got = read(descriptor_, buffer, size);
            if (got >= 0) return static_cast<std::size_t>(got);
            if (errno != EINTR) RaiseLastError();
        }
    }

    FileState State() override {
        const struct stat status = Status();
        if (!S_ISREG(status.st_mode)) return {};
        constexpr std::int64_t kNanoseconds = 1'000'000'000;
        return {static_cast<std::uint64_t>(status.st_size),
                status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
    }

    void RefuseDirectory() const {
        if (S_ISDIR(Status().st_mode)) throw std::system_error(EISDIR, std::system_category());
    }

private:
    struct stat Status() const {
        struct stat status {};
        if (fstat(descriptor_, &status) != 0) RaiseLastError();
        return status;
    }

    int descriptor_;
};

}  // namespace

std::unique_ptr<InputFile> OpenInputFile(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) RaiseLastError();
    auto opened = std::make_unique<PosixFile>(descriptor);
    opened->RefuseDirectory();
    return opened;
}

}  // namespace iqrx::platform
