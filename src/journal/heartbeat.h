// A copy's signs of life, written into its run sheet while it runs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "journal/run_sheet.h"

namespace iqrx::journal {

// Lives as long as the copy. It has a thread of its own: a copy that waits, for the database or for the ERP,
// is alive, too.
class Heartbeat {
public:
    // `sheet` may be null, and nothing happens then; all is borrowed. `rows`, which returns the rows copied
    // so far, is called in the other thread and raises nothing. The first sign comes after a period.
    Heartbeat(RunSheet* sheet, const platform::Host& host, std::function<std::int64_t()> rows,
              std::chrono::milliseconds period = std::chrono::seconds(1));

private:
    std::mutex mutex_;
    std::condition_variable_any never_;
    std::jthread thread_;
};

}  // namespace iqrx::journal
