// Groups a connection's writes into short transactions, since a commit costs more than the statements before it.
// A group ends when it has been open for its time or holds its count of writes; then other writers get room.
// Writes are reported done before their group is committed: a loss is kept until somebody has settled it.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/database.h"

namespace iqrx::platform {

struct WriteGroupLimits {
    std::chrono::milliseconds time{100};  // how long a group stays open
    std::int64_t writes = 100'000;        // how many writes it holds
    // A thread that ends the group in time when no further call comes. Without it the time is looked at
    // with each write only: for drivers that only one thread may call.
    bool timer = true;

    // Room for other writers: a pause after each group, as a share of the time that it was open, and, once
    // writes have come without a break for `warmUp`, a quiet time at the start of every `cycle` of the wall
    // clock. All processes keep the same quiet times, so that a writer that looks rarely finds nobody there.
    double pause = 0;
    std::chrono::milliseconds quiet{0}, cycle{0}, warmUp{1000};
};

class WriteGroup {
public:
    using Action = std::function<void()>;

    // `begin` and `commit` act on the connection and may raise; after either raised, no group is open.
    WriteGroup(Action begin, Action commit, WriteGroupLimits limits = {});
    // Does not commit. No other member may run any more.
    ~WriteGroup();
    WriteGroup(const WriteGroup&) = delete;
    WriteGroup& operator=(const WriteGroup&) = delete;

    // Held for every use of the connection and of the members below.
    [[nodiscard]] std::unique_lock<std::mutex> Lock() { return std::unique_lock(mutex_); }

    void RaiseLoss() const;  // raises WritesLost as long as a loss is not settled
    void BeforeWrite();      // begins a group unless one is open
    void AfterWrite();       // commits when a limit is reached and the group is not held
    void Commit();           // does nothing when no group is open; raises WritesLost
    void Settle();           // commits, then raises, once, what is lost since the last time
    // The database has ended the group's transaction by itself, for this cause.
    void Abandon(const RuntimeError& cause);
    bool IsOpen() const { return open_; }

    // While it is held, neither limit nor timer commits the group.
    void Hold() { held_ = true; }
    void Release() { held_ = false; }

private:
    using Clock = std::chrono::steady_clock;

    void LeaveRoom();
    bool KeepsQuietTimes() const;
    std::chrono::milliseconds QuietTimeLeft() const;
    std::chrono::milliseconds IntoCycle() const;
    bool IsDue() const;
    void Lose(const RuntimeError& cause);
    void RunTimer();
    void CommitIdleGroup();

    const Action begin_, commit_;
    const WriteGroupLimits limits_;

    std::mutex mutex_;
    bool open_ = false, held_ = false;
    std::int64_t writes_ = 0;
    Clock::time_point begun_{}, ended_{}, busySince_{}, notBefore_{};
    std::optional<WritesLost> lost_;

    // Shared with the timer without mutex_, which a busy connection holds nearly always.
    std::mutex timerMutex_;
    std::condition_variable wake_;
    Clock::time_point deadline_ = Clock::time_point::max();
    bool stopping_ = false;
    std::atomic<bool> due_ = false;
    std::thread timer_;
};

}  // namespace iqrx::platform
