#include "platform/write_group.h"

#include <algorithm>
#include <utility>

namespace iqrx::platform {

namespace {
// Longer without a group than this, and other writers have had their turn anyway.
constexpr std::chrono::milliseconds kBreak{200};
constexpr std::chrono::milliseconds kNone{0};
}  // namespace

WriteGroup::WriteGroup(Action begin, Action commit, WriteGroupLimits limits)
    : begin_(std::move(begin)), commit_(std::move(commit)), limits_(limits) {
    if (limits_.timer) timer_ = std::thread([this] { RunTimer(); });
}

WriteGroup::~WriteGroup() {
    if (!timer_.joinable()) return;
    {
        std::lock_guard lock(timerMutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    timer_.join();
}

void WriteGroup::RaiseLoss() const {
    if (lost_) throw WritesLost(*lost_);
}

void WriteGroup::BeforeWrite() {
    if (open_) return;
    LeaveRoom();
    begin_();
    while (QuietTimeLeft() > kNone) {  // it was another group's end that let this one begin
        commit_();
        std::this_thread::sleep_for(QuietTimeLeft());
        begin_();
    }
    open_ = true;
    writes_ = 0;
    begun_ = Clock::now();
    auto deadline = begun_ + limits_.time;
    if (KeepsQuietTimes()) deadline = std::min(deadline, begun_ + (limits_.cycle - IntoCycle()));
    {
        std::lock_guard lock(timerMutex_);
        deadline_ = deadline;
        due_.store(false, std::memory_order_relaxed);
    }
    if (limits_.timer) wake_.notify_one();
}

// Waits until this connection may begin its next group.
void WriteGroup::LeaveRoom() {
    std::this_thread::sleep_until(notBefore_);
    if (Clock::now() - ended_ > kBreak) busySince_ = Clock::now();
    std::this_thread::sleep_for(QuietTimeLeft());
}

bool WriteGroup::KeepsQuietTimes() const {
    return limits_.quiet > kNone && Clock::now() - busySince_ >= limits_.warmUp;
}

std::chrono::milliseconds WriteGroup::QuietTimeLeft() const {
    return KeepsQuietTimes() ? std::max(kNone, limits_.quiet - IntoCycle()) : kNone;
}

std::chrono::milliseconds WriteGroup::IntoCycle() const {
    const auto wallClock = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(wallClock) % limits_.cycle;
}

void WriteGroup::AfterWrite() {
    ++writes_;
    if (!held_ && (writes_ >= limits_.writes || IsDue())) Commit();
}

bool WriteGroup::IsDue() const {
    if (limits_.timer) return due_.load(std::memory_order_relaxed);  // spares a look at the clock per write
    return Clock::now() >= deadline_;
}

void WriteGroup::Commit() {
    if (!open_) return;
    open_ = false;
    try {
        commit_();
    } catch (...) {
        Lose(CurrentError());
        throw WritesLost(*lost_);
    }
    ended_ = Clock::now();
    notBefore_ = ended_ + std::chrono::duration_cast<Clock::duration>((ended_ - begun_) * limits_.pause);
}

void WriteGroup::Settle() {
    try {
        Commit();
    } catch (const WritesLost&) {
        // Raised below, together with what was lost before.
    }
    if (lost_) throw WritesLost(*std::exchange(lost_, std::nullopt));
}

void WriteGroup::Abandon(const RuntimeError& cause) {
    if (!open_) return;
    open_ = false;
    ended_ = Clock::now();
    if (writes_ > 0) Lose(cause);
}

void WriteGroup::Lose(const RuntimeError& cause) {
    ended_ = Clock::now();
    if (lost_) return;  // the first loss is the cause of those that follow
    lost_.emplace(cause.number, cause.source,
                  cause.description + "; writes that were reported done before are lost with it");
}

void WriteGroup::RunTimer() {
    std::unique_lock lock(timerMutex_);
    while (!stopping_) {
        if (deadline_ == Clock::time_point::max()) {
            wake_.wait(lock);
        } else if (const auto deadline = deadline_; Clock::now() < deadline) {
            wake_.wait_until(lock, deadline);
        } else {
            deadline_ = Clock::time_point::max();
            due_.store(true, std::memory_order_relaxed);
            lock.unlock();
            CommitIdleGroup();
            lock.lock();
        }
    }
}

// A busy connection commits by itself as soon as it sees that the group is due; by the time that the lock is
// free, either it has done so or no call is under way.
void WriteGroup::CommitIdleGroup() {
    const auto turn = Lock();
    if (!open_ || held_ || !due_.load(std::memory_order_relaxed)) return;
    try {
        Commit();
    } catch (const WritesLost&) {
        // The next call raises it.
    }
}

}  // namespace iqrx::platform
