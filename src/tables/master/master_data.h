// The master-data tables: of each its entry routine, which the dispatch list names, and the three routines
// behind it. A full copy makes the local table equal to the ERP's; an incremental copy applies the audit
// trail since the table's last update; an upsert writes one record. All raise RuntimeError after they have
// logged the failure.
#pragma once

#include "engine/routines.h"

namespace iqrx::tables {

using control::CopyRun;
using engine::CopyingRoutine;
using engine::EntryRoutine;
using engine::UpsertRoutine;
using platform::Integer;
using platform::Object;

// tsmdm030
EntryRoutine CopyServiceTypes;
CopyingRoutine CopyServiceTypesFull, CopyServiceTypesIncremental;
UpsertRoutine UpsertServiceType;

// tsmdm100
EntryRoutine CopyServiceCenters;
CopyingRoutine CopyServiceCentersFull, CopyServiceCentersIncremental;
UpsertRoutine UpsertServiceCenter;

// tsmdm105
EntryRoutine CopyServiceAreas;
CopyingRoutine CopyServiceAreasFull, CopyServiceAreasIncremental;
UpsertRoutine UpsertServiceArea;

// tsmdm130
EntryRoutine CopySkills;
CopyingRoutine CopySkillsFull, CopySkillsIncremental;
UpsertRoutine UpsertSkill;

// tsmdm135
EntryRoutine CopyEmployeeSkills;
CopyingRoutine CopyEmployeeSkillsFull, CopyEmployeeSkillsIncremental;
UpsertRoutine UpsertEmployeeSkill;

// tsmdm140
EntryRoutine CopyServiceEmployees;
CopyingRoutine CopyServiceEmployeesFull, CopyServiceEmployeesIncremental;
UpsertRoutine UpsertServiceEmployee;

// tsclm020
EntryRoutine CopyResponseTimes;
CopyingRoutine CopyResponseTimesFull, CopyResponseTimesIncremental;
UpsertRoutine UpsertResponseTime;

// tsclm024
EntryRoutine CopySolutionTimes;
CopyingRoutine CopySolutionTimesFull, CopySolutionTimesIncremental;
UpsertRoutine UpsertSolutionTime;

// tccom130
EntryRoutine CopyAddresses;
CopyingRoutine CopyAddressesFull, CopyAddressesIncremental;
UpsertRoutine UpsertAddress;

}  // namespace iqrx::tables
