// Errors of which an adapter knows the SQL state.
#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "platform/database.h"

namespace iqrx::platform {

struct DatabaseFailure : RuntimeError {
    DatabaseFailure(std::int32_t number, std::string source, std::string description, std::string sqlState)
        : RuntimeError(number, std::move(source), std::move(description)), sqlState(std::move(sqlState)) {}

    std::string sqlState;
};

// The numbers that database providers give to causes, by how their SQL states begin.
struct NumberOfState {
    std::string_view beginning;
    std::int32_t number;
};
// Of the first beginning that fits; kDatabaseError where none does.
std::int32_t NumberOf(std::string_view sqlState, std::span<const NumberOfState> numbers);

// The entry that a caught exception leaves in the connection's Errors.
ErrorEntry EntryOf(const std::exception_ptr& failure);

}  // namespace iqrx::platform
