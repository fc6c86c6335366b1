// The application event log of a command-line start.
#pragma once

#include <string>

#include "platform/machine.h"

namespace iqrx::runtime {

class EventLog {
public:
    explicit EventLog(platform::Machine& machine) : machine_(machine) {}

    // From here on entries go to this file; a file that cannot be written stops nobody.
    void Start(std::string path) { path_ = std::move(path); }
    void LogEvent(const std::string& text);

private:
    platform::Machine& machine_;
    std::string path_;
};

}  // namespace iqrx::runtime
