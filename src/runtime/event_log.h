// The application event log of a command-line start.
#pragma once

#include <string>

#include "platform/machine.h"
#include "platform/text.h"

namespace iqrx::runtime {

class EventLog {
public:
    explicit EventLog(platform::Machine& machine) : machine_(machine) {}

    // From here on entries go to this file; a file that cannot be written stops nobody.
    void Start(std::string path) { path_ = std::move(path); }

    void LogEvent(const std::string& text) {
        const platform::Date now = machine_.clock.Now();
        const std::string line = machine_.locale.ShortDate(now) + ' ' + machine_.locale.LongTime(now) +
                                 " Information Application iQRXyQRXSync: " + text +
                                 std::string(machine_.lineEnd);
        try {
            machine_.files.OpenForAppending(platform::Path(path_))->Append(line);
        } catch (const std::exception&) {
            // See above.
        }
    }

private:
    platform::Machine& machine_;
    std::string path_;
};

}  // namespace iqrx::runtime
