// Automation values: what crosses a late-bound call, a recordset field and an event.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

namespace iqrx::platform {

class Object;
using ObjectRef = std::shared_ptr<Object>;

struct Empty {
    bool operator==(const Empty&) const = default;
};
struct Null {
    bool operator==(const Null&) const = default;
};

// A moment without a zone, exact to the second. Times of day lie on 1899-12-30, the automation zero day.
struct Date {
    std::int64_t secondsSince1970 = 0;
    auto operator<=>(const Date&) const = default;
};

using Boolean = bool;
using Byte = std::uint8_t;
using Integer = std::int16_t;
using Long = std::int32_t;
using Single = float;
using Double = double;

// A null ObjectRef is Nothing. Text is UTF-8.
struct Value
    : std::variant<Empty, Null, Boolean, Byte, Integer, Long, Single, Double, Date, std::string, ObjectRef> {
    using variant::variant;

    template <class T>
    bool Is() const {
        return std::holds_alternative<T>(*this);
    }
    template <class T>
    const T& As() const {
        return std::get<T>(*this);
    }
};

}  // namespace iqrx::platform
