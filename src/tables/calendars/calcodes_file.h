// The calendar-codes file: the calendars that a copy touched, one code a line, handed to their expansion. It
// lies beside the run log and is named after it and the instance number.
#pragma once

#include <filesystem>

#include "control/copy_run.h"

namespace iqrx::tables {

using control::CopyRun;

// Raises "invalid procedure call" while the run log has no name.
std::filesystem::path CalcodesFilePath(CopyRun& run);

// A failure of any of the three goes to the run log and ends only the routine: a calendar is copied even
// where its code cannot be written.
void CreateCalcodesFile(CopyRun& run);  // or empties it
void WriteCalcode(CopyRun& run, const platform::Value& sCalCode);
void CloseCalcodesFile(CopyRun& run);

}  // namespace iqrx::tables
