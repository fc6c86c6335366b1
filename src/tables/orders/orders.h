// Service orders with their activities, lines and assignments, and planned activities: of each table its
// entry routine, which the dispatch list names, and the routines that it calls. All raise RuntimeError; the
// copies have logged the failure before.
//
// Orders, activities and assignments keep a change-log for the applications that read the local database: at
// most one row per key, the last change that an incremental copy made. The action is "I" inserted, "U"
// updated or "D" deleted. Every full copy empties it. A delete that found a row is logged; it counts in any case.
#pragma once

#include <string_view>

#include "engine/copy_pattern.h"

namespace iqrx::tables {

using control::CopyRun;
using control::Routine;
using control::TableCall;
using engine::UpsertRoutine;
using platform::Integer;
using platform::Long;
using platform::Object;

// tssoc200. The table's filter flag says which order statuses are copied.
Routine CopyServiceOrders, CopyServiceOrdersFull, CopyServiceOrdersIncremental;
// An update leaves the sold-to partner's name alone unless `withSoldToName`; an insert writes it in any case.
void UpsertServiceOrder(const TableCall& call, Object& order, bool withSoldToName);
void DeleteServiceOrder(CopyRun& run, const std::string& orno);
void WriteServiceOrderAudit(CopyRun& run, const std::string& orno, std::string_view action);

// tssoc210. The same filter, on the activity's own status.
Routine CopyServiceOrderActivities, CopyServiceOrderActivitiesFull, CopyServiceOrderActivitiesIncremental;
UpsertRoutine UpsertServiceOrderActivity;
void DeleteServiceOrderActivity(CopyRun& run, const std::string& orno, Long acln);
void WriteServiceOrderActivityAudit(CopyRun& run, const std::string& orno, Long acln, std::string_view action);

// tssoc205. No change-log.
Routine CopyServiceOrderLines, CopyServiceOrderLinesFull, CopyServiceOrderLinesIncremental;
UpsertRoutine UpsertServiceOrderLine;

// tssoc206
Routine CopyAssignments, CopyAssignmentsFull, CopyAssignmentsIncremental;
UpsertRoutine UpsertAssignment;
void DeleteAssignment(CopyRun& run, const std::string& orno, Integer asln);
void WriteAssignmentAudit(CopyRun& run, const std::string& orno, Integer asln, Integer acln,
                          std::string_view action);

// tsspc200. No change-log.
Routine CopyPlannedActivities, CopyPlannedActivitiesFull, CopyPlannedActivitiesIncremental;
UpsertRoutine UpsertPlannedActivity;

}  // namespace iqrx::tables
