// The driver manager's handles, freed by their owner.
#pragma once

#include <cstddef>
#include <cstdint>

namespace iqrx::platform::odbc {

using Result = std::int16_t;  // what every call of the driver manager returns

// A number where the driver manager takes a number or a pointer in one argument.
inline void* Number(std::size_t value) {
    return reinterpret_cast<void*>(value);  // NOLINT(performance-no-int-to-ptr): the interface is made so
}

enum class HandleKind : std::int16_t { Environment = 1, Connection = 2, Statement = 3 };

class Handle {
public:
    Handle() = default;
    // Allocates below `parent`, which is null for an environment; empty when the driver manager refuses.
    Handle(HandleKind kind, void* parent);
    Handle(Handle&& other) noexcept;
    Handle& operator=(Handle&& other) noexcept;
    ~Handle();

    explicit operator bool() const { return native_ != nullptr; }
    void* Get() const { return native_; }
    HandleKind Kind() const { return kind_; }

private:
    HandleKind kind_ = HandleKind::Statement;
    void* native_ = nullptr;
};

}  // namespace iqrx::platform::odbc
