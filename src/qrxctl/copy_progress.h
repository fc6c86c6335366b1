// How far a run is, while it runs: on a terminal lines that are rewritten in place, elsewhere a line per
// table and one every half minute for a table that takes long.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "platform/watch/row_counts.h"

namespace iqrx::qrxctl {

enum class Showing { Nothing, Lines, Live };

// Of a stream for talk: live on a terminal that can rewrite a line.
Showing ShowingOf(bool quiet, bool onTerminal, const std::string& terminalType);

// Members may be called in several threads at once.
class CopyProgress {
public:
    using Clock = std::chrono::steady_clock;

    // `tables` is the number of those to copy.
    CopyProgress(std::ostream& talk, Showing showing, std::size_t tables,
                 std::function<Clock::time_point()> now = Clock::now)
        : talk_(talk), showing_(showing), tables_(tables), now_(std::move(now)) {}

    // The table's place is counted from 1. The counts are borrowed until End. `expected`: rows in all, 0 when
    // nobody knows.
    void Begin(const std::string& table, std::size_t place, const platform::watch::RowCounts& counts,
               std::int64_t expected);
    // `outcome` is what the line says of the table.
    void End(const std::string& table, const std::string& outcome, double seconds);
    // A line of its own, above what is rewritten.
    void Say(const std::string& line);
    // To be called a few times a second.
    void Refresh();
    // A line for each table under way, whatever is shown otherwise: somebody asked.
    void Answer();

private:
    struct Running {
        std::size_t number;
        const platform::watch::RowCounts& counts;
        std::int64_t expected;
        Clock::time_point begun, told;
    };

    std::string Head(std::size_t number, const std::string& table) const;
    std::string LineOf(const std::string& table, const Running& running) const;
    std::string PlainLineOf(const std::string& table, const Running& running) const;
    double SecondsOf(const Running& running) const;
    void Draw();
    void Wipe();

    std::ostream& talk_;
    const Showing showing_;
    const std::size_t tables_;
    const std::function<Clock::time_point()> now_;
    int drawn_ = 0;  // live lines on the screen
    std::map<std::string, Running> running_;
    std::mutex mutex_;
};

}  // namespace iqrx::qrxctl
