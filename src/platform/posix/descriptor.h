// An open file of the system's.
#pragma once

#include <unistd.h>

#include <utility>

namespace iqrx::platform::posix {

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

private:
    int number_;
};

}  // namespace iqrx::platform::posix
