// A stop request that signals make: SIGINT, SIGTERM and SIGHUP. SIGUSR1 asks how far the work is.
#pragma once

#include <signal.h>

#include <utility>
#include <vector>

#include "platform/stop_request.h"

namespace iqrx::platform::posix {

// While it lives, the first of these signals asks to stop, and the next one ends the process at once, as if
// nobody handled it. A signal that was ignored before, as nohup has it for SIGHUP, stays so. One at a time in
// a process; afterwards the signals mean what they meant before.
class StopSignals final : public StopRequest {
public:
    StopSignals();
    ~StopSignals() override;
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    std::optional<std::string> Asked() const override;  // "SIGINT", "SIGTERM" or "SIGHUP"
    int TimesAskedHowFar() const override;

private:
    void Handle(int number, void (*handler)(int));

    std::vector<std::pair<int, struct sigaction>> before_;
};

}  // namespace iqrx::platform::posix
