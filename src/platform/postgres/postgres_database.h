// PostgreSQL: takes the statement texts that are meant for SQL Server and for Oracle, and definitions as they
// stand.
#pragma once

#include <memory>

#include "platform/database.h"

namespace iqrx::platform::postgres {
class IdleSession;
}

namespace iqrx::platform {

// Opens strings of the form "Provider=PostgreSQL;Host=...;Port=...;Database=...;User=...;Password=...", of
// which each key but the first may be missing, or "Service=..."; also SSLMode, SSLRootCert, Application Name
// and Connect Timeout, and the number of Rows per Trip: the statements that are sent before somebody waits.
// The default database of the port is a schema here.
//
// Each statement is a transaction of its own, and each unit one. The server reports them done before they are
// on its disk, which costs no wait, and keeps them in their order: a statement on a control table, Commit and
// an exclusive section wait for the disk, and with them everything before is kept. What a crash of the server
// can take is therefore the end of a copy whose table has not got its new time of last update, which the next
// copy does again; a group of writes would save nothing.
//
// A connection that is closed leaves its session, unless it was changed, to the next one that has the same
// idle session and the same string, and is opened within two seconds: that one need not log in.
std::unique_ptr<Connection> CreatePostgresConnection(TableNames controlTables,
                                                     std::shared_ptr<postgres::IdleSession> idle = nullptr);

// To be handed to connections of one thread.
std::shared_ptr<postgres::IdleSession> IdlePostgresSession();

}  // namespace iqrx::platform
