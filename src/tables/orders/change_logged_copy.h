// What the tables that keep a change-log share.
#pragma once

#include "engine/copy_pattern.h"

namespace iqrx::tables {

// A full copy that fetches a range of order statuses after the other, as the table's filter flag says. It
// ends with a range for which the ERP returns no enumerator: nothing is swept, stamped or logged then.
// `begin` marks the rows and the start of the full copy.
void FullCopyByStatus(const engine::TableCall& call, const engine::Table& table, engine::Routine* begin,
                      engine::UpsertRoutine* upsert);

// The end of a full copy: the change-log is emptied and the copy marked as finished.
void FinishFullSync(const engine::TableCall& call);

// The time that a change-log row carries: the database's conversion of an empty text. What counts is the
// row's presence and its action.
engine::Literal ChangeLogTime(const runtime::SqlLiterals& literals);

}  // namespace iqrx::tables
