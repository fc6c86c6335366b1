// How long a call waits for another program's lock, and who hears of it meanwhile.
#pragma once

#include <chrono>
#include <filesystem>
#include <utility>

#include "platform/sqlite/sqlite_database.h"

namespace iqrx::platform::sqlite {

class LockWait {
public:
    using Moment = std::chrono::steady_clock::time_point;

    LockWait(std::filesystem::path file, WaitListener listener)
        : file_(std::move(file)), listener_(std::move(listener)) {}

    void SetLimit(std::chrono::seconds limit) { limit_ = limit; }  // 0: none

    const WaitListener& Listener() const { return listener_; }

    void Begin(Moment now) {
        begin_ = now;
        nextTold_ = now + kFirstTold;
    }
    // Whether to look for the lock once more. Tells the listener, who may end the wait.
    bool GoesOn(Moment now) {
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(now - begin_);
        if (limit_.count() > 0 && waited >= limit_) return false;
        if (!listener_ || now < nextTold_) return true;
        nextTold_ = begin_ + waited + kToldEvery;
        return listener_(waited, file_);
    }

private:
    static constexpr std::chrono::seconds kFirstTold{3}, kToldEvery{1};

    const std::filesystem::path file_;
    const WaitListener listener_;
    std::chrono::seconds limit_{0};
    Moment begin_{}, nextTold_{};
};

}  // namespace iqrx::platform::sqlite
