// The master-data tables: of each its entry routine, which the dispatch list names, and the three routines
// behind it. A full copy makes the local table equal to the ERP's; an incremental copy applies the audit
// trail since the table's last update; an upsert writes one record. All raise RuntimeError after they have
// logged the failure.
#pragma once

#include "engine/routines.h"

namespace iqrx::engine {

// tsmdm030
EntryRoutine CopyServiceTypes;
CopyingRoutine CopyServiceTypesFull, CopyServiceTypesIncremental;
UpsertRoutine UpsertServiceType;

}  // namespace iqrx::engine
