// Diagnostics of the driver as the port's errors.
#pragma once

#include "platform/database.h"
#include "platform/error.h"
#include "platform/odbc/driver.h"

namespace iqrx::platform::odbc {

// What a connection or recordset answers to calls that its state does not allow, with ADO's numbers for them.
enum ObjectError : std::int32_t {
    kNoCurrentRecord = -2146825267,
    kItemNotFound = -2146825023,
    kObjectClosed = -2146824584,
    kObjectOpen = -2146824583,
    kNotUpdatable = -2146825037,
};

enum class Link { NotYet, Up, Gone };  // the connection to the server, as far as it is known

// Replaces `errors` by what the driver says about the failed call on `handle`, and returns the first of it as
// the error to raise. When the link is gone, or was up and the driver says that it is gone, an entry that
// says so with SQL state 08S01 stands before the driver's own.
RuntimeError TakeDiagnostics(const Handle& handle, const DriverTraits& driver, Link link, Errors& errors);

}  // namespace iqrx::platform::odbc
