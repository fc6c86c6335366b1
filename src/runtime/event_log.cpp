#include "runtime/event_log.h"

#include <fstream>

namespace iqrx::runtime {

void EventLog::LogEvent(const std::string& text) {
    const platform::Date now = machine_.clock.Now();
    std::ofstream file(std::filesystem::path(std::u8string(path_.begin(), path_.end())), std::ios::app);
    file << machine_.locale.ShortDate(now) << ' ' << machine_.locale.LongTime(now)
         << " Information Application iQRXyQRXSync: " << text << '\n';
}

}  // namespace iqrx::runtime
