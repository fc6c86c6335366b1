// A stop request that console events make: Ctrl-C, Ctrl-Break, and the console's close, log-off and shutdown.
#pragma once

#include <atomic>
#include <memory>

#include "platform/stop_request.h"

namespace iqrx::platform::windows {

// While it lives, the first Ctrl-C or Ctrl-Break asks to stop, and the next one ends the process at once, as
// if nobody handled it. After a close, a log-off and a shutdown the process ends when their handler returns:
// it waits until this is destroyed, so that what it was asked to stop comes to its end; the system waits some
// five seconds for that, at a service's shutdown twenty. Of log-off and shutdown Windows tells services only.
// One at a time in a process. It was asked by "Ctrl-C", "Ctrl-Break", "close", "logoff" or "shutdown".
std::unique_ptr<StopRequest> ListenForConsoleEvents();

// What the handler, which runs in a thread of its own, and the process say to each other.
struct StopConversation {
    std::atomic<const char*> askedBy{nullptr};
    std::atomic<bool> isOver{false};
};

// One event, by its number. Whether it is handled: the system's own handler ends the process. `pause` lets a
// moment pass, `patience` times at most.
bool TakeConsoleEvent(StopConversation& conversation, unsigned long event, void (*pause)(), int patience);

}  // namespace iqrx::platform::windows
