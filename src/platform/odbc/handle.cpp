#include "platform/odbc/handle.h"

#include <sql.h>

namespace iqrx::platform::odbc {

static_assert(static_cast<SQLSMALLINT>(HandleKind::Environment) == SQL_HANDLE_ENV);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Connection) == SQL_HANDLE_DBC);
static_assert(static_cast<SQLSMALLINT>(HandleKind::Statement) == SQL_HANDLE_STMT);
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the boundary is UTF-16");

Handle::Handle(HandleKind kind, void* parent) {
    void* native = nullptr;
    if (SQL_SUCCEEDED(SQLAllocHandle(static_cast<SQLSMALLINT>(kind), parent, &native)))
        native_ = {native, FreeHandle{kind}};
}

void FreeHandle::operator()(void* native) const { SQLFreeHandle(static_cast<SQLSMALLINT>(kind), native); }

}  // namespace iqrx::platform::odbc
