#include "platform/odbc/handle.h"

#include <sql.h>

#include <utility>

namespace iqrx::platform::odbc {

static_assert(static_cast<SQLSMALLINT>(HandleKind::Environment) == SQL_HANDLE_ENV);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Connection) == SQL_HANDLE_DBC);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Statement) == SQL_HANDLE_STMT);
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the boundary is UTF-16");

Handle::Handle(HandleKind kind, void* parent) : kind_(kind) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(static_cast<SQLSMALLINT>(kind), parent, &native_))) native_ = nullptr;
}

Handle::Handle(Handle&& other) noexcept
    : kind_(other.kind_), native_(std::exchange(other.native_, nullptr)) {}

Handle& Handle::operator=(Handle&& other) noexcept {
    std::swap(kind_, other.kind_);
    std::swap(native_, other.native_);
    return *this;
}

Handle::~Handle() {
    if (native_) SQLFreeHandle(static_cast<SQLSMALLINT>(kind_), native_);
}

}  // namespace iqrx::platform::odbc
