// The database port on top of "ADODB.Connection" and "ADODB.Recordset", late-bound. Connection strings are
// handed over as they stand.
#pragma once

#include "platform/database.h"
#include "platform/object.h"

namespace iqrx::platform::ado {

std::unique_ptr<Connection> CreateConnection(ObjectFactory& factory);  // borrows it; not open yet

}  // namespace iqrx::platform::ado
