// Wrappers of the database port: each watches over the statements of a copy. A connection is one copy's: what
// a wrapper knows of rows begins anew with the next one. All arguments are borrowed and must outlive the
// provider that is returned, and that its connections.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/database.h"
#include "platform/host.h"
#include "platform/watch/removal_limit.h"
#include "platform/watch/removed_rows.h"
#include "platform/watch/row_counts.h"

namespace iqrx::platform::watch {

// Counts the rows that are written and removed; control tables and change logs count nothing. The rows of a
// unit that fails are taken off again. The wait for the database ends, for the counts, when a statement does.
std::unique_ptr<DatabaseProvider> CountRows(DatabaseProvider& provider, RowCounts& counts);

struct RefusedRemoval {
    std::string table;                 // in lower case
    std::int64_t removed = 0, of = 0;  // rows that it would come to, of those that were there before the copy
    std::string limit;                 // "limit 10 %", "limit 37 rows", "limit: never all rows"

    // "would remove 37 of 40 rows (92 %, limit 10 %)"
    std::string Text() const;
};

// Counts what a sweep or a delete would remove before it is sent. Above the limit it is not sent: the call
// raises RuntimeError "TABLE: " and the refusal's text, and `refused`, which a new connection empties, holds
// it. Calendars that are replaced, control tables and change logs are not guarded.
std::unique_ptr<DatabaseProvider> GuardRemovals(DatabaseProvider& provider, const RemovalLimits& limits,
                                                std::optional<RefusedRemoval>& refused);

// Before a sweep is sent, its rows go to the sink as INSERT statements in the dialect of the database; a sink
// that raises keeps the sweep from being sent. `dateLiteral` writes a moment as the copy does. Belongs around
// the connection that GuardRemovals is around, so that it sees allowed sweeps only.
std::unique_ptr<DatabaseProvider> KeepRemovedRows(DatabaseProvider& provider, RemovedRows& sink,
                                                  DateLiteral dateLiteral);

// Raises "stopped by NAME" in place of each statement once somebody asked to stop, except for those on
// control tables, which free the table and tell the outcome. What only makes sense as a whole comes to its
// end before: a unit, and a calendar whose rows were deleted and are coming anew.
inline constexpr std::int32_t kStopped = 18;  // the number that it raises
std::unique_ptr<DatabaseProvider> StopBetweenStatements(DatabaseProvider& provider, const StopRequest& stop);

}  // namespace iqrx::platform::watch
