// A stop request that signals make: SIGINT, SIGTERM and SIGHUP. SIGUSR1 asks how far the work is.
#pragma once

#include <memory>

#include "platform/stop_request.h"

namespace iqrx::platform::posix {

// While it lives, the first of these signals asks to stop ("SIGINT", "SIGTERM" or "SIGHUP"), and the next one
// ends the process at once, as if nobody handled it. A signal that was ignored before, as nohup has it for
// SIGHUP, stays so. One at a time in a process; afterwards the signals mean what they meant before.
std::unique_ptr<StopRequest> ListenForStopSignals();

}  // namespace iqrx::platform::posix
