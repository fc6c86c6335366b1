// How the tool looks at the database when it only looks.
#pragma once

#include <functional>
#include <string>

#include "qrxctl/command.h"
#include "runtime/database_session.h"

namespace iqrx::qrxctl {

// A connection string with which nothing is written and nothing is left beside an embedded database, so that
// it serves whoever may only read.
std::string ForReading(const std::string& connection);

// What stands in a heading: the file's name, or the server and the database.
std::string DatabaseName(const Options& options);

// Whether the database is a file that is read here, row by row, to count its rows.
bool IsEmbedded(const Options& options);
bool IsPostgres(const Options& options);

// The tables of the options' group, in the catalog's order, as a look that writes nothing finds them. Raises
// RuntimeError, and UsageError for a group that is not there.
std::vector<std::string> CatalogTables(hosting::Composition& parts, const Options& options);

inline constexpr runtime::Sql<0> kRowCount = "SELECT count(*) FROM {table}";
// Of the rows that a full copy has marked and not met yet.
inline constexpr runtime::Sql<0> kUnconfirmedCount = "SELECT count(*) FROM {table} WHERE upd_flag = 1";
// The answer to such a question. Raises RuntimeError.
std::int64_t NumberFrom(runtime::DatabaseSession& database, const platform::Statement& question);

// Opens the database for reading and reads. Once more when it changed meanwhile: `read` begins anew each time.
void ReadDatabase(hosting::Composition& parts, const Options& options,
                  const std::function<void(runtime::DatabaseSession& session)>& read);

}  // namespace iqrx::qrxctl
