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

    void Begin(Moment now);
    // Whether to look for the lock once more. Tells the listener, who may end the wait.
    bool GoesOn(Moment now);

private:
    const std::filesystem::path file_;
    const WaitListener listener_;
    std::chrono::seconds limit_{0};
    Moment begin_{}, nextTold_{};
};

}  // namespace iqrx::platform::sqlite
