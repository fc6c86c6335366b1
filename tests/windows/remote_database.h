// "ADODB.Connection" and "ADODB.Recordset" for the tests, as far as the service calls them, on the database
// that the bridge serves.
#pragma once

#include "platform/object.h"

namespace iqrx::testing {

platform::ObjectRef CreateRemoteConnection(unsigned short port);
platform::ObjectRef CreateRemoteRecordset();

}  // namespace iqrx::testing
