#include "platform/sqlite/lock_wait.h"

namespace iqrx::platform {

WaitListener TellingEachMinute(std::function<void(const std::string& text)> tell) {
    return [tell = std::move(tell), told = std::chrono::minutes(0)](
               std::chrono::seconds waited, const std::filesystem::path& file) mutable {
        const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(waited);
        if (minutes > told)
            tell("waiting for " + std::to_string(waited.count()) +
                 " s for the database, which another program holds: " + file.string());
        told = minutes;  // fewer than before: another wait
        return true;
    };
}

}  // namespace iqrx::platform

namespace iqrx::platform::sqlite {

namespace {
constexpr std::chrono::seconds kFirstTold{3}, kToldEvery{1};
}

void LockWait::Begin(Moment now) {
    begin_ = now;
    nextTold_ = now + kFirstTold;
}

bool LockWait::GoesOn(Moment now) {
    const auto waited = std::chrono::duration_cast<std::chrono::seconds>(now - begin_);
    if (limit_.count() > 0 && waited >= limit_) return false;
    if (!listener_ || now < nextTold_) return true;
    nextTold_ = begin_ + waited + kToldEvery;
    return listener_(waited, file_);
}

}  // namespace iqrx::platform::sqlite
