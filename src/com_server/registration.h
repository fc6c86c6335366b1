// The registry entries of the public classes and of their type library.
#pragma once

namespace iqrx::hosting::windows {

// For every user of the machine, or for this user only when the process may not write there. Registering
// again renews the entries. Raises RuntimeError.
void RegisterServer();

// Removes every entry that registering makes, for all users where it may and for this user.
void UnregisterServer();

}  // namespace iqrx::hosting::windows
