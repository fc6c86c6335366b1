// Diagnostics of the driver as the port's errors.
#pragma once

#include "platform/database.h"
#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {

// What the driver says about the failed call on `handle`, at least one entry, each with its SQL state before
// the words. Any other call on the handle clears it.
Errors ReadDiagnostics(const Handle& handle, const DriverTraits& driver);

// Puts an entry before the driver's own that says, with SQL state 08S01, that the connection is gone.
void NameLostLink(Errors& errors, const DriverTraits& driver);

// Whether a value did not fit its column.
inline bool SpeakOfLongValue(const Errors& errors) { return errors.front().sqlState == "22001"; }

// Whether the transaction in which the errors came is gone: rolled back by the server, or lost with the link.
bool EndATransaction(const Errors& errors);

}  // namespace iqrx::platform::odbc
