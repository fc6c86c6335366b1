// The driver manager's handles, freed by their owner.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace iqrx::platform::odbc {

using Result = std::int16_t;  // what every call of the driver manager returns

// A number where the driver manager takes a number or a pointer in one argument.
inline void* Number(std::size_t value) {
    return reinterpret_cast<void*>(value);  // NOLINT(performance-no-int-to-ptr): the interface is made so
}

enum class HandleKind : std::int16_t { Environment = 1, Connection = 2, Statement = 3 };

struct FreeHandle {
    HandleKind kind = HandleKind::Statement;
    void operator()(void* native) const;
};

class Handle {
public:
    Handle() = default;
    // Allocates below `parent`, which is null for an environment; empty when the driver manager refuses.
    Handle(HandleKind kind, void* parent);

    explicit operator bool() const { return native_ != nullptr; }
    void* Get() const { return native_.get(); }
    HandleKind Kind() const { return native_.get_deleter().kind; }

private:
    std::unique_ptr<void, FreeHandle> native_;
};

}  // namespace iqrx::platform::odbc
