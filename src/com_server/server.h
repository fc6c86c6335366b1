// The process as a COM server.
#pragma once

#include "control/process.h"

namespace iqrx::hosting::windows {

// Offers the public classes to one client and runs its calls on this thread, which has entered an apartment,
// until the last object and the last lock are gone. A process that nobody calls ends by itself. Raises
// RuntimeError when the classes cannot be offered.
void RunServer(control::Process& process);

}  // namespace iqrx::hosting::windows
