// "ADODB.Connection" and "ADODB.Recordset" for the tests, as far as the service calls them, on the database
// that the bridge serves.
#pragma once

#include <functional>

#include "platform/object.h"

namespace iqrx::testing {

// `wrong` is asked at the statement that marks a table's rows; true: its number of rows is no number.
platform::ObjectRef CreateRemoteConnection(unsigned short port, std::function<bool()> wrong);
platform::ObjectRef CreateRemoteRecordset();

}  // namespace iqrx::testing
