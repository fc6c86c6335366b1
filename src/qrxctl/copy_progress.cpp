#include "qrxctl/copy_progress.h"

#include <fmt/format.h>

#include <ostream>

#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

constexpr std::chrono::seconds kLineEvery{30};
constexpr int kWaitWorthALine = 3;  // seconds

struct Pace {
    std::int64_t rows, perSecond;
    int percent;               // -1: nobody knows
    std::int64_t secondsLeft;  // -1: nobody knows
};

Pace PaceOf(std::int64_t rows, std::int64_t expected, double seconds) {
    Pace pace{rows, seconds > 0 ? static_cast<std::int64_t>(static_cast<double>(rows) / seconds) : 0, -1, -1};
    if (expected <= 0) return pace;
    constexpr std::int64_t kAll = 100;
    pace.percent = static_cast<int>(std::min(kAll - 1, rows * kAll / expected));
    if (pace.perSecond > 0) pace.secondsLeft = std::max<std::int64_t>(expected - rows, 0) / pace.perSecond;
    return pace;
}

std::string Waiting(int seconds) {
    return fmt::format("waiting {} s for the database: another program writes", seconds);
}

}  // namespace

Showing ShowingOf(bool quiet, bool onTerminal, const std::string& terminalType) {
    if (quiet) return Showing::Nothing;
    return onTerminal && terminalType != "dumb" ? Showing::Live : Showing::Lines;
}

void CopyProgress::Begin(const std::string& table, std::size_t place,
                         const platform::watch::RowCounts& counts, std::int64_t expected) {
    const std::lock_guard lock(mutex_);
    const auto now = now_();
    running_.emplace(table, Running{place, counts, expected, now, now});
}

void CopyProgress::End(const std::string& table, const std::string& outcome, double seconds) {
    const std::lock_guard lock(mutex_);
    const auto found = running_.find(table);
    const std::string head = Head(found->second.number, table);
    running_.erase(found);
    if (showing_ == Showing::Nothing) return;
    Wipe();
    const std::string time = fmt::format("{:.1f} s", seconds);
    talk_ << fmt::format("{}{:<{}}{:>10}\n", head, outcome, kColumns - head.size() - 12, time);
    Draw();
}

void CopyProgress::Say(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (showing_ == Showing::Nothing) return;
    Wipe();
    talk_ << line << '\n';
    Draw();
}

void CopyProgress::Refresh() {
    const std::lock_guard lock(mutex_);
    if (showing_ == Showing::Live) return Wipe(), Draw();
    if (showing_ == Showing::Nothing) return;
    const auto now = now_();
    for (auto& [table, running] : running_) {
        if (now - running.told < kLineEvery) continue;
        running.told = now;
        talk_ << PlainLineOf(table, running) << std::endl;
    }
}

void CopyProgress::Answer() {
    const std::lock_guard lock(mutex_);
    Wipe();
    for (const auto& [table, running] : running_) talk_ << PlainLineOf(table, running) << '\n';
    Draw();
}

std::string CopyProgress::Head(std::size_t number, const std::string& table) const {
    return fmt::format("{:>2}/{} {}  ", number, tables_, table);
}

std::string CopyProgress::LineOf(const std::string& table, const Running& running) const {
    const Pace pace = PaceOf(running.counts.copied, running.expected, SecondsOf(running));
    std::string line = Head(running.number, table) + Grouped(pace.rows);
    if (pace.percent < 0) return line + fmt::format(" rows  {}/s", Grouped(pace.perSecond));
    line += fmt::format(" of about {} rows  {} %  {}/s", Grouped(running.expected), pace.percent,
                        Grouped(pace.perSecond));
    if (pace.secondsLeft >= 0)
        line += fmt::format("  {}:{:02} left", pace.secondsLeft / 60, pace.secondsLeft % 60);
    return line;
}

std::string CopyProgress::PlainLineOf(const std::string& table, const Running& running) const {
    const Pace pace = PaceOf(running.counts.copied, running.expected, SecondsOf(running));
    std::string line = fmt::format("{} {} rows", table, pace.rows);
    if (pace.percent >= 0) line += fmt::format(", {} %", pace.percent);
    line += fmt::format(", {}/s", pace.perSecond);
    if (const int waited = running.counts.waitedSeconds; waited >= kWaitWorthALine)
        line += ", " + Waiting(waited);
    return line;
}

double CopyProgress::SecondsOf(const Running& running) const {
    return std::chrono::duration<double>(now_() - running.begun).count();
}

void CopyProgress::Draw() {
    if (showing_ != Showing::Live) return static_cast<void>(talk_.flush());
    for (const auto& [table, running] : running_) {
        talk_ << LineOf(table, running).substr(0, kColumns - 1) << '\n';
        ++drawn_;
        const int waited = running.counts.waitedSeconds;
        if (waited < kWaitWorthALine) continue;
        talk_ << std::string(6, ' ') << Waiting(waited) << '\n';
        ++drawn_;
    }
    talk_.flush();
}

// Takes back the lines that are rewritten, the cursor at their first.
void CopyProgress::Wipe() {
    for (; drawn_ > 0; --drawn_) talk_ << "\x1b[A\x1b[2K";
}

}  // namespace iqrx::qrxctl
