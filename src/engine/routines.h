// The four routines that every table has, as types: a header declares a table's routines by them, in a line
// each.
#pragma once

#include <string>

#include "control/copy_run.h"
#include "platform/object.h"

namespace iqrx::engine {

using control::CopyRun;
using platform::Integer;
using platform::Object;

// 1 copies in full, 2 incrementally, any other method does nothing.
using EntryRoutine = void(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                          Integer syncMethod);
// A full or an incremental copy.
using CopyingRoutine = void(CopyRun& run, const std::string& tableName, const std::string& runParameter);
// Writes one record or audit element.
using UpsertRoutine = void(CopyRun& run, Object& record, const std::string& tableName);

}  // namespace iqrx::engine
