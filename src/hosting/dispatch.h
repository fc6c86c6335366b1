// Which routine copies which table.
#pragma once

#include <span>

#include "control/copy_run.h"

namespace iqrx::hosting {

// In the order in which a table's name is looked for.
std::span<const control::TableRoutine> Tables();

const control::CalendarRoutines& Calendars();

}  // namespace iqrx::hosting
