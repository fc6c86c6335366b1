// The configuration tables and the skill combinations: of each its entry routine, which the dispatch list
// names, and the three routines behind it. They are copied as the master data are, but where their files say
// so. All raise RuntimeError after they have logged the failure.
#pragma once

#include "engine/routines.h"

namespace iqrx::tables {

using control::CopyRun;
using engine::CopyingRoutine;
using engine::EntryRoutine;
using engine::UpsertRoutine;
using platform::Integer;
using platform::Object;

// tcccp001
EntryRoutine CopyAvailabilityTypes;
CopyingRoutine CopyAvailabilityTypesFull, CopyAvailabilityTypesIncremental;
UpsertRoutine UpsertAvailabilityType;

// tscfg220
EntryRoutine CopyInstallations;
CopyingRoutine CopyInstallationsFull, CopyInstallationsIncremental;
UpsertRoutine UpsertInstallation;

// tscfg200
EntryRoutine CopyServiceObjects;
CopyingRoutine CopyServiceObjectsFull, CopyServiceObjectsIncremental;
UpsertRoutine UpsertServiceObject;
// What the server does with one object: it counts the object's rows and inserts or updates. Counts as an
// insert.
std::string BuildServiceObjectBlock(CopyRun& run, Object& record, const std::string& tableName);

// tsmdm000
EntryRoutine CopySkillCombinations;
CopyingRoutine CopySkillCombinationsFull, CopySkillCombinationsIncremental;
UpsertRoutine UpsertSkillCombination;

}  // namespace iqrx::tables
