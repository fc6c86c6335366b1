// The adapter's errors: SQLite's result codes and what the adapter itself finds wrong.
#pragma once

#include <string>
#include <string_view>

#include "platform/database.h"
#include "platform/error.h"

struct sqlite3;

namespace iqrx::platform::sqlite {

struct DatabaseFailure : RuntimeError {
    DatabaseFailure(std::int32_t number, std::string description, std::string sqlState)
        : RuntimeError(number, "SQLite", std::move(description)), sqlState(std::move(sqlState)) {}

    std::string sqlState;
};

[[noreturn]] void RaiseRecordsetError(RecordsetError number, const std::string& description);

// Raises the database's last failure; `code` is its (extended) result code.
[[noreturn]] void RaiseSqliteError(sqlite3* database, int code);

// Raises what is wrong with a statement text, quoting the text from `place` on.
[[noreturn]] void RaiseSyntaxError(std::string_view text, std::size_t place, const std::string& message,
                                   const char* sqlState = "42000");

// The entry that a caught exception leaves in the connection's Errors.
ErrorEntry EntryOf(const std::exception_ptr& failure);

}  // namespace iqrx::platform::sqlite
