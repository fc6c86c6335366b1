// An open file of the system's, and how this system's own files are opened.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace iqrx::platform::posix {

// Links are not followed, and a FIFO's other end is not waited for.
inline constexpr int kAlways = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
inline constexpr mode_t kOwnerWritesGroupReads = 0640;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }

    explicit operator bool() const { return number_ >= 0; }
    int Number() const { return number_; }
    int Close() { return number_ >= 0 ? close(std::exchange(number_, -1)) : 0; }  // what close(2) returns

    // All of the text, whatever signal arrives meanwhile; false: errno says why not.
    bool Write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t written = write(number_, text.data(), text.size());
            if (written < 0 && errno != EINTR) return false;
            if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

private:
    int number_;
};

}  // namespace iqrx::platform::posix
