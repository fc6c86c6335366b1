#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

namespace iqrx::platform {

// Not constexpr on purpose: a list that is too long does not compile, and the name says why.
void TheListIsTooLong();

// A list of at most N items that is data of the program: it can be written in braces and built by the
// compiler.
template <class T, std::size_t N, void (*TooLong)() = TheListIsTooLong>
class FixedList {
public:
    constexpr FixedList() = default;
    constexpr FixedList(std::initializer_list<T> items) {
        for (const T& item : items) Append(item);
    }

    constexpr void Append(const T& item) {
        if (size_ == N) TooLong();
        items_[size_++] = item;
    }

    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr const T& operator[](std::size_t index) const { return items_[index]; }
    constexpr const T* data() const { return items_.data(); }
    constexpr const T* begin() const { return items_.data(); }
    constexpr const T* end() const { return items_.data() + size_; }

private:
    std::array<T, N> items_{};
    std::size_t size_ = 0;
};

}  // namespace iqrx::platform
