#include "platform/sqlite/lock_wait.h"

namespace iqrx::platform::sqlite {

namespace {
constexpr std::chrono::seconds kNoticeEvery{60};
}

void LockWait::Begin(Moment now) {
    begin_ = now;
    nextNotice_ = now + kNoticeEvery;
}

bool LockWait::GoesOn(Moment now) {
    const auto waited = std::chrono::duration_cast<std::chrono::seconds>(now - begin_);
    if (limit_.count() > 0 && waited >= limit_) return false;
    if (now >= nextNotice_) {
        nextNotice_ += kNoticeEvery;
        if (notice_)
            notice_("waiting for " + std::to_string(waited.count()) +
                    " s for the database, which another program holds: " + file_.string());
    }
    return true;
}

}  // namespace iqrx::platform::sqlite
