#include "platform/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "platform/posix/descriptor.h"

namespace iqrx::platform {

namespace {

[[noreturn]] void RaiseLastError() { throw std::system_error(errno, std::system_category()); }

class PosixFile final : public InputFile {
public:
    explicit PosixFile(const std::filesystem::path& file)
        : descriptor_(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (!descriptor_) RaiseLastError();
        if (S_ISDIR(Status().st_mode)) throw std::system_error(EISDIR, std::system_category());
    }

    std::size_t Read(std::uint64_t offset, char* buffer, std::size_t size) override {
        for (;;) {
            ssize_t got = pread(descriptor_.Number(), buffer, size, static_cast<off_t>(offset));
            if (got < 0 && errno == ESPIPE) got = read(descriptor_.Number(), buffer, size);
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

private:
    struct stat Status() const {
        struct stat status {};
        if (fstat(descriptor_.Number(), &status) != 0) RaiseLastError();
        return status;
    }

    posix::Descriptor descriptor_;
};

}  // namespace

std::unique_ptr<InputFile> OpenInputFile(const std::filesystem::path& file) {
    return std::make_unique<PosixFile>(file);
}

}  // namespace iqrx::platform
