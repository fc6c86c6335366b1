// What a copy has done to rows so far. The copying thread writes, any thread reads.
#pragma once

#include <atomic>
#include <cstdint>

namespace iqrx::platform::watch {

struct RowCounts {
    // Rows written: each that an UPDATE found, each INSERT, each new row of a recordset, each object of a
    // batch. Not the calendars' rows day by day, which are made here.
    std::atomic<std::int64_t> copied{0};
    // Rows that went. Those that a calendar's DELETE takes come back as the inserts that follow it: they
    // count as removed only so far as fewer come back before the next DELETE.
    std::atomic<std::int64_t> removed{0};
    // For the database, in the statement under way; 0: it does not wait. Whoever hears of the wait writes it.
    std::atomic<int> waitedSeconds{0};
};

}  // namespace iqrx::platform::watch
