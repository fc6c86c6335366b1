// The process as a COM server.
#pragma once

#include "control/process.h"

namespace iqrx::hosting::windows {

// Offers the public classes to one client and runs its calls on this thread, which has entered an apartment,
// until the last object and the last lock are gone. A process that nobody calls ends by itself. Raises
// RuntimeError when the classes cannot be offered.
void RunServer(control::Process& process);

// Makes the registry entries of the public classes and of their type library, for every user of the machine,
// or for this user only when the process may not write there. Registering again renews the entries. Raises
// RuntimeError.
void RegisterServer();

// Removes every entry that registering makes, for all users where it may and for this user.
void UnregisterServer();

}  // namespace iqrx::hosting::windows
