// The database port over ODBC: connection strings with Driver= or DSN=, through the driver manager.
//
// `Commit Interval=MILLISECONDS` in the connection string groups statements into transactions no longer than
// that; 0, the default, leaves each statement to itself. `Rows per Trip=NUMBER` sends so many upserts
// together, as one text and one transaction, where the server takes T-SQL; 1 is the default, and elsewhere
// every number is as 1. Every other key is the driver's.
#pragma once

#include <memory>

#include "platform/database.h"

namespace iqrx::platform {

// Not open yet.
std::unique_ptr<Connection> CreateOdbcConnection(TableNames controlTables);

}  // namespace iqrx::platform
