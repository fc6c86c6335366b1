// The driver at the other end: the handles by which it is called, what it is like, asked once after the
// connection was opened, and how it writes names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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

// One of the driver manager's handles, freed by its owner.
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

enum class NameCase { AsWritten, Upper, Lower };

struct DriverTraits {
    std::string source = "ODBC";              // names the driver in its errors
    std::string quote;                        // around a name; empty: names can't be quoted
    NameCase nameCase = NameCase::AsWritten;  // how the catalog keeps a name that was not quoted
    bool catalogs = false;                    // there are databases to change between
    // Whether a result can stay open while other statements run and transactions end.
    bool openCursors = false;
    // Whether the server takes T-SQL, and so a text of several statements that asks for the count of the one
    // before.
    bool transactSql = false;
    // Whether texts reach the driver as UTF-16. A driver without wide functions gets them as UTF-8, since the
    // driver manager would lose what Latin-1 does not have.
    bool wide = true;

    std::string Quoted(const std::string& name) const { return quote + name + quote; }
};

DriverTraits ReadDriverTraits(const Handle& connection);

// The last part of a table's written name as the catalog keeps it.
std::string CatalogName(std::string_view written, NameCase nameCase);
// The same in small letters, whatever the catalog's.
std::string LastPart(std::string_view written);

}  // namespace iqrx::platform::odbc
