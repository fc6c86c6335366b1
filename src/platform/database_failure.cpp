#include "platform/database_failure.h"

#include <algorithm>

namespace iqrx::platform {

std::int32_t NumberOf(std::string_view sqlState, std::span<const NumberOfState> numbers) {
    const auto found = std::ranges::find_if(
        numbers, [&](const auto& entry) { return sqlState.starts_with(entry.beginning); });
    return found == numbers.end() ? static_cast<std::int32_t>(kDatabaseError) : found->number;
}

ErrorEntry EntryOf(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const DatabaseFailure& error) {
        return {error.number, error.source, error.description, error.sqlState};
    } catch (...) {
        const RuntimeError error = CurrentError();
        return {error.number, error.source, error.description, "HY000"};
    }
}

}  // namespace iqrx::platform
