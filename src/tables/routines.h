// The master-data and configuration tables: of each its entry routine, which the dispatch list names, and the
// three routines it calls. Unless a table's file says otherwise, a full copy makes the local table equal to
// the ERP's; an incremental copy applies the audit trail since the table's last update; an upsert writes one
// record. All raise RuntimeError after they have logged the failure.
#pragma once

#include "engine/copy_pattern.h"

namespace iqrx::tables {

using control::Routine;
using engine::UpsertRoutine;

// tsmdm030
Routine CopyServiceTypes, CopyServiceTypesFull, CopyServiceTypesIncremental;
UpsertRoutine UpsertServiceType;

// tsmdm100
Routine CopyServiceCenters, CopyServiceCentersFull, CopyServiceCentersIncremental;
UpsertRoutine UpsertServiceCenter;

// tsmdm105
Routine CopyServiceAreas, CopyServiceAreasFull, CopyServiceAreasIncremental;
UpsertRoutine UpsertServiceArea;

// tsmdm130
Routine CopySkills, CopySkillsFull, CopySkillsIncremental;
UpsertRoutine UpsertSkill;

// tsmdm135
Routine CopyEmployeeSkills, CopyEmployeeSkillsFull, CopyEmployeeSkillsIncremental;
UpsertRoutine UpsertEmployeeSkill;

// tsmdm140
Routine CopyServiceEmployees, CopyServiceEmployeesFull, CopyServiceEmployeesIncremental;
UpsertRoutine UpsertServiceEmployee;

// tsclm020
Routine CopyResponseTimes, CopyResponseTimesFull, CopyResponseTimesIncremental;
UpsertRoutine UpsertResponseTime;

// tsclm024
Routine CopySolutionTimes, CopySolutionTimesFull, CopySolutionTimesIncremental;
UpsertRoutine UpsertSolutionTime;

// tccom130
Routine CopyAddresses, CopyAddressesFull, CopyAddressesIncremental;
UpsertRoutine UpsertAddress;

// tcccp001
Routine CopyAvailabilityTypes, CopyAvailabilityTypesFull, CopyAvailabilityTypesIncremental;
UpsertRoutine UpsertAvailabilityType;

// tscfg220
Routine CopyInstallations, CopyInstallationsFull, CopyInstallationsIncremental;
UpsertRoutine UpsertInstallation;

// tscfg200
Routine CopyServiceObjects, CopyServiceObjectsFull, CopyServiceObjectsIncremental;
UpsertRoutine UpsertServiceObject;

// tsmdm000
Routine CopySkillCombinations, CopySkillCombinationsFull, CopySkillCombinationsIncremental;
UpsertRoutine UpsertSkillCombination;

}  // namespace iqrx::tables
