// What the tables that keep a change-log share.
#pragma once

#include <vector>

#include "engine/copy_pattern.h"

namespace iqrx::tables {

// Which order statuses a filter flag lets through. The flag is a bit mask over the statuses 5, 10, 15, 20,
// 23, 25 and 35, from bit 0 on.
struct StatusRange {
    platform::Byte from = 0, to = 0;  // both included
    bool operator==(const StatusRange&) const = default;
};

// What a full copy fetches: a range per run of set bits. A flag with bit 7 loses its last run if that run
// reaches bit 6.
std::vector<StatusRange> StatusRanges(platform::Integer filterFlag);

// What an incremental copy filters, for two flags only: with 95 and 79 the status 25, with 79 also 23.
bool FilterIsActive(platform::Integer filterFlag);
bool IsExcluded(platform::Integer filterFlag, platform::Long status);

// A full copy that fetches a range of order statuses after the other, as the table's filter flag says. It
// ends with a range for which the ERP returns no enumerator: nothing is swept, stamped or logged then.
// `begin` marks the rows and the start of the full copy.
void FullCopyByStatus(const engine::TableCall& call, const engine::Table& table, engine::Routine* begin,
                      engine::UpsertRoutine* upsert);

// The end of a full copy that began at `startTime`: what the ERP no longer has is swept, the change-log is
// emptied and the copy marked as finished.
void FinishFullCopy(const engine::TableCall& call, const engine::Literal& startTime);

// The time that a change-log row carries: the database's conversion of an empty text. What counts is the
// row's presence and its action.
engine::Literal ChangeLogTime(const runtime::SqlLiterals& literals);

}  // namespace iqrx::tables
