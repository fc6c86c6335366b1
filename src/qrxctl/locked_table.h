// A locked table: who has it, for how long, and what is left of the copy.
#pragma once

#include <string>

#include "control/process.h"
#include "journal/run_sheet.h"
#include "journal/timestamp.h"

namespace iqrx::qrxctl {

struct RowsLeft {
    std::int64_t unconfirmed = 0, all = 0;
};
// Rows that a full copy has marked and not met yet. Raises RuntimeError.
RowsLeft RowsLeftOf(runtime::DatabaseSession& database, const std::string& table);

// "25 m"; empty when the sheet does not say since when.
std::string AgeOf(const journal::SheetText& sheet, const journal::Timestamp& now);
std::string SinceText(const journal::SheetText& sheet);  // "2026-11-21 10:36:19"

// "locked since 2026-11-21 10:36:19 (25 m)".
std::string LockedSince(const journal::SheetText& sheet, const journal::Timestamp& now);
// "qrxctl copy --all --full, pid 17552, user root, on this machine".
std::string HolderText(const journal::SheetText& sheet, const platform::Host& host);
// "locked by a program on host SCHED2 since ..., or by one that keeps no run sheet; nothing here can prove ..."
std::string WithoutProof(const journal::SheetState& state);

}  // namespace iqrx::qrxctl
