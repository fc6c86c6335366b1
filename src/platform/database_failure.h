// What the failures of databases say of their causes, and which of them are tried again.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "platform/database.h"

namespace iqrx::platform {

// An error of which an adapter knows the SQL state.
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

// Where two serializable transactions meet, a server lets one of them fail, which then has to run again.
// Whether a provider says with these errors that a transaction failed since another was in its way, or since
// the other's row came first.
bool NamesAVictim(const Errors& errors);

// Makes the attempt until it does not raise; raises what it raised when `isVictim` then says no, and when
// it was a victim so often that something else must be wrong. Others get room between two attempts.
void RepeatForVictims(const std::function<void()>& attempt, const std::function<bool()>& isVictim);

}  // namespace iqrx::platform
