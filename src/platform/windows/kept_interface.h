// Interfaces that stay callable from other processes until this one ends.
#pragma once

#include "platform/windows/com.h"

namespace iqrx::platform::windows {

// Keeps a stub of the object's interface, and with it the object, that is never released. COM takes an
// interface down with the process's last stub of it and waits for its calls then; Wine's COM waits forever
// for one that ends in that moment. Raises RuntimeError.
void KeepInterface(REFIID iid, IUnknown* object);

// The interfaces of plain late-bound objects.
void KeepDispatchInterfaces();

}  // namespace iqrx::platform::windows
