// A locked table: who has it, and for how long.
#pragma once

#include <optional>
#include <string>

#include "journal/run_sheet.h"
#include "journal/timestamp.h"

namespace iqrx::qrxctl {

// "25 m"; empty when the sheet does not say since when.
std::string AgeOf(const journal::SheetText& sheet, const journal::Timestamp& now);
std::string SinceText(const journal::SheetText& sheet);  // "2026-11-21 10:36:19"

// "last sign 3 m ago"; empty while the holder has given none.
std::string LastSign(const std::optional<journal::SignOfLife>& sign, const journal::Timestamp& now);
// "41,200 rows, 8 s"; what is not known is left out.
std::string HowFar(const journal::SheetState& state, const journal::Timestamp& now);

// "locked since 2026-11-21 10:36:19 (25 m)".
std::string LockedSince(const journal::SheetText& sheet, const journal::Timestamp& now);
// "qrxctl copy --all --full, pid 17552, user root, on this machine".
std::string HolderText(const journal::SheetText& sheet, const platform::Host& host);
// "locked by a program on host SCHED2 since ... (last sign 3 m ago), or by one that keeps no run sheet;
// nothing here can prove ..."
std::string WithoutProof(const journal::SheetState& state, const std::string& lastSign = {});

}  // namespace iqrx::qrxctl
