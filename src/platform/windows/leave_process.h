// The end of a process that has used COM.
#pragma once

namespace iqrx::platform::windows {

// Ends the process at once with the exit code; what the standard streams hold is written before. Nothing else
// is torn down: COM's tear-down waits for calls that it still counts, and so does that of a DLL, so that
// everything of the program's own is to be closed by then.
[[noreturn]] void LeaveProcess(int exitCode);

}  // namespace iqrx::platform::windows
