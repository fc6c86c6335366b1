// The four routines that every table has, as types: a header declares a table's routines by them, in two lines.
#pragma once

#include "control/copy_run.h"
#include "platform/object.h"

namespace iqrx::engine {

using control::CopyRun;
using control::Routine;  // the entry routine, which looks at the method; the full copy; the incremental copy
using control::TableCall;
using platform::Integer;
using platform::Object;

// Writes one record or audit element.
using UpsertRoutine = void(const TableCall& call, Object& record);

}  // namespace iqrx::engine
