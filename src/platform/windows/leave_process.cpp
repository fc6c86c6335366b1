#include "platform/windows/leave_process.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "platform/windows/com.h"

namespace iqrx::platform::windows {

void LeaveProcess(int exitCode) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    // Not ExitProcess, which calls the DLLs' entry points, nor exit, which ends there: they may wait for a
    // thread or a lock of one that is gone.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();  // never reached
}

}  // namespace iqrx::platform::windows
