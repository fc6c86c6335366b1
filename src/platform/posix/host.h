// The host of a POSIX machine. Files are held by flock(2): it belongs to an open file and not to a process,
// so that two threads exclude each other as two processes do, and flock(1) and lslocks(8) show who holds a
// sheet. A question whether a file is held takes a shared lock for a moment; who wants the file for itself
// tells such a question from a holder and tries again.
#pragma once

#include "platform/host.h"

namespace iqrx::platform::posix {

std::unique_ptr<Host> CreateHost();

}  // namespace iqrx::platform::posix
