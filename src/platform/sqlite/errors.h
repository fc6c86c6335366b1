// The adapter's errors: SQLite's result codes and what the adapter itself finds wrong.
#pragma once

#include <string>

#include "platform/database_failure.h"

struct sqlite3;

namespace iqrx::platform::sqlite {

struct DatabaseFailure : platform::DatabaseFailure {
    DatabaseFailure(std::int32_t number, std::string description, std::string sqlState)
        : platform::DatabaseFailure(number, "SQLite", std::move(description), std::move(sqlState)) {}
};

// Raises the database's last failure; `code` is its (extended) result code.
[[noreturn]] void RaiseSqliteError(sqlite3* database, int code);

}  // namespace iqrx::platform::sqlite
