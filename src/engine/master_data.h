// The master-data tables: of each its entry routine, which the dispatch list names, and the three routines
// behind it. A full copy makes the local table equal to the ERP's; an incremental copy applies the audit
// trail since the table's last update; an upsert writes one record. All raise RuntimeError after they have
// logged the failure.
#pragma once

#include <string>

#include "control/copy_run.h"
#include "platform/object.h"

namespace iqrx::engine {

using control::CopyRun;
using platform::Integer;
using platform::Object;

// tsmdm030
void CopyServiceTypes(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                      Integer syncMethod);
void CopyServiceTypesFull(CopyRun& run, const std::string& tableName, const std::string& runParameter);
void CopyServiceTypesIncremental(CopyRun& run, const std::string& tableName, const std::string& runParameter);
void UpsertServiceType(CopyRun& run, Object& record, const std::string& tableName);

}  // namespace iqrx::engine
