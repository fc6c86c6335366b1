#include "runtime/event_log.h"

#include "platform/text.h"

namespace iqrx::runtime {

void EventLog::LogEvent(const std::string& text) {
    const platform::Date now = machine_.clock.Now();
    const std::string line = machine_.locale.ShortDate(now) + ' ' + machine_.locale.LongTime(now) +
                             " Information Application iQRXyQRXSync: " + text + std::string(machine_.lineEnd);
    try {
        machine_.files.OpenForAppending(platform::Path(path_))->Append(line);
    } catch (const std::exception&) {
        // See the header.
    }
}

}  // namespace iqrx::runtime
