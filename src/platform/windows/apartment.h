// A process's life with COM.
#pragma once

#include "platform/windows/com_error.h"

namespace iqrx::platform::windows {

// Enters a single-threaded apartment for the rest of the thread's life; its process ends by LeaveProcess.
// Raises RuntimeError. What the call returns for an apartment that was entered before counts as well.
inline void EnterApartment() { Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), "CoInitializeEx"); }

// Keeps a stub of the object's interface, and with it the object, that is never released: the interface stays
// callable from other processes until this one ends. COM takes an interface down with the process's last stub
// of it and waits for its calls then; Wine's COM waits forever for one that ends in that moment. Raises
// RuntimeError.
void KeepInterface(REFIID iid, IUnknown* object);

// The interfaces of plain late-bound objects.
void KeepDispatchInterfaces();

// Ends the process at once with the exit code; what the standard streams hold is written before. Nothing else
// is torn down: COM's tear-down waits for calls that it still counts, and so does that of a DLL, so that
// everything of the program's own is to be closed by then.
[[noreturn]] void LeaveProcess(int exitCode);

}  // namespace iqrx::platform::windows
