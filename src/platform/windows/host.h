// The host of a Windows machine. A file is held by its share mode, so that there is no moment at which a new
// one is there and not held, and a lock far after its text tells so to those who ask, without excluding
// anybody. A process's terminal is the session's name, "Console" or "RDP-Tcp#3"; the start is told by its
// number, where the system counts.
#pragma once

#include "platform/host.h"

namespace iqrx::platform::windows {

std::unique_ptr<Host> CreateHost();

}  // namespace iqrx::platform::windows
