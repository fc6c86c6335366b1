#include "platform/database_failure.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <string_view>
#include <thread>

namespace iqrx::platform {

namespace {

constexpr int kMostAttempts = 50;  // giving up costs a whole request

// Two that failed together do not meet again after pauses of the same length.
void Pause(int attempt) {
    constexpr int kLongest = 100;  // milliseconds
    std::random_device random;
    std::uniform_int_distribution milliseconds(1, std::min(4 * attempt, kLongest));
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds(random)));
}

bool Speaks(const ErrorEntry& entry) {
    if (entry.sqlState.starts_with("40") || entry.sqlState.starts_with("23")) return true;
    // What drivers say that have no state for it.
    constexpr std::array<std::string_view, 6> kWords{"database is locked",
                                                     "database table is locked",
                                                     "database schema is locked",
                                                     "ORA-08177",
                                                     "ORA-00060",
                                                     "ORA-00001"};
    return std::ranges::any_of(
        kWords, [&](std::string_view words) { return entry.description.find(words) != std::string::npos; });
}

}  // namespace

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

bool NamesAVictim(const Errors& errors) { return std::ranges::any_of(errors, Speaks); }

void RepeatForVictims(const std::function<void()>& attempt, const std::function<bool()>& isVictim) {
    for (int attempts = 1;; ++attempts) {
        try {
            return attempt();
        } catch (...) {
            if (attempts == kMostAttempts || !isVictim()) throw;
        }
        Pause(attempts);
    }
}

}  // namespace iqrx::platform
