// Numbers as texts and as values, without the locale.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/value.h"

namespace iqrx::platform {

// The whole text as a number; nothing for any other text, and for a number that the type does not hold.
template <class Number, class... Format>
std::optional<Number> NumberFrom(std::string_view text, Format... format) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// The shortest text that is read back as the same number.
template <class Number>
std::string ShortestText(Number number) {
    std::array<char, 32> room;
    return {room.data(), std::to_chars(room.data(), room.data() + room.size(), number).ptr};
}

// A Long where it fits, else a Double.
inline Value WholeValue(std::int64_t number) {
    if (std::in_range<Long>(number)) return static_cast<Long>(number);
    return static_cast<Double>(number);
}

}  // namespace iqrx::platform
