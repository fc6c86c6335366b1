#include "journal/heartbeat.h"

#include <utility>

#include "journal/timestamp.h"

namespace iqrx::journal {

namespace {

using Clock = std::chrono::steady_clock;

SignOfLife SignAt(Clock::time_point begin, std::int64_t rows, const platform::Host& host) {
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    const platform::Date now = host.LocalTime(std::chrono::system_clock::now());
    return {rows, taken.count(), Rfc3339({now, host.UtcOffsetMinutes()})};
}

}  // namespace

Heartbeat::Heartbeat(RunSheet* sheet, const platform::Host& host, std::function<std::int64_t()> rows,
                     std::chrono::milliseconds period) {
    if (!sheet) return;
    thread_ = std::jthread([this, sheet, &host, rows = std::move(rows), period,
                            begin = Clock::now()](const std::stop_token& stop) {
        std::unique_lock lock(mutex_);
        for (;;) {
            never_.wait_for(lock, stop, period, [] { return false; });
            if (stop.stop_requested()) return;
            sheet->Tell(SignAt(begin, rows(), host));
        }
    });
}

}  // namespace iqrx::journal
