// Errors of which an adapter knows the SQL state.
#pragma once

#include <exception>
#include <string>

#include "platform/database.h"

namespace iqrx::platform {

struct DatabaseFailure : RuntimeError {
    DatabaseFailure(std::int32_t number, std::string source, std::string description, std::string sqlState)
        : RuntimeError(number, std::move(source), std::move(description)), sqlState(std::move(sqlState)) {}

    std::string sqlState;
};

// The entry that a caught exception leaves in the connection's Errors.
ErrorEntry EntryOf(const std::exception_ptr& failure);

}  // namespace iqrx::platform
