// The configuration tables and the skill combinations: of each its entry routine, which the dispatch list
// names, and the three routines that it calls. They are copied as the master data are, but where their files
// say so. All raise RuntimeError after they have logged the failure.
#pragma once

#include "engine/copy_pattern.h"

namespace iqrx::tables {

using control::Routine;
using engine::UpsertRoutine;

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
