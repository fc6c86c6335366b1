// How long a call waits for another program's lock, and who hears of it meanwhile.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

namespace iqrx::platform::sqlite {

// Hears in one line of a wait that lasts.
using WaitNotice = std::function<void(const std::string& text)>;

class LockWait {
public:
    using Moment = std::chrono::steady_clock::time_point;

    LockWait(std::filesystem::path file, WaitNotice notice)
        : file_(std::move(file)), notice_(std::move(notice)) {}

    void SetLimit(std::chrono::seconds limit) { limit_ = limit; }  // 0: none

    const WaitNotice& Notice() const { return notice_; }

    void Begin(Moment now) {
        begin_ = now;
        nextNotice_ = now + kNoticeEvery;
    }
    // Whether to look for the lock once more. Tells of the wait after each minute of it.
    bool GoesOn(Moment now) {
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(now - begin_);
        if (limit_.count() > 0 && waited >= limit_) return false;
        if (now < nextNotice_) return true;
        nextNotice_ += kNoticeEvery;
        if (notice_)
            notice_("waiting for " + std::to_string(waited.count()) +
                    " s for the database, which another program holds: " + file_.string());
        return true;
    }

private:
    static constexpr std::chrono::seconds kNoticeEvery{60};

    const std::filesystem::path file_;
    const WaitNotice notice_;
    std::chrono::seconds limit_{0};
    Moment begin_{}, nextNotice_{};
};

}  // namespace iqrx::platform::sqlite
