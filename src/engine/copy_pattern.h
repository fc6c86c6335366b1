// The pattern that every table follows: full copy by mark and sweep, incremental copy from the audit trail,
// row upsert. Each member raises RuntimeError after it has logged the failure, with a description in the
// catalog's words.
#pragma once

#include <functional>
#include <string>

#include "engine/routines.h"
#include "engine/table.h"

namespace iqrx::engine {

using platform::ObjectRef;

// What a routine of a table is called with.
struct TableRun {
    CopyRun& run;
    const Table& table;
    const std::string& tableName;
    const std::string& runParameter;
};

// 1 calls the full copy, 2 the incremental copy, any other method neither.
void ChooseCopy(platform::Integer syncMethod, const std::function<void()>& full,
                const std::function<void()>& incremental);
// The same for a table whose two copies are plain routines.
void ChooseCopy(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                Integer syncMethod, CopyingRoutine* full, CopyingRoutine* incremental);

// What a table does beside the pattern of a full copy; neither happens when the ERP answers no enumerator.
struct FullSteps {
    std::function<void()> afterMark = [] {};
    std::function<void()> afterStamp = [] {};
};
void FullCopy(const TableRun& copy, UpsertRoutine* upsert, const FullSteps& steps = {});

// What a full copy holds of the ERP. After a failure the manager is closed and the others are let go when the
// failure has been logged, not before.
struct HeldObjects {
    ObjectRef manager, enumerator, record;

    void LetGo();  // of all but the manager
};
// The frame of a full copy around a table's own way with its records: a manager that knows the run parameter
// is created before and closed after it.
void FullCopy(const TableRun& copy, const std::function<void(HeldObjects& held)>& copyRecords);

struct AuditElement {
    Object& element;
    Object& manager;  // the one that reads the trail
    bool isUpdated;   // else inserted; means nothing for a deleted element
};

// What an incremental copy does with the elements of the audit trail.
struct IncrementalSteps {
    std::function<void(const AuditElement&)> deleted;
    std::function<void(const AuditElement&)> changed;
    std::function<void()> beforeLoop = [] {};
};
void IncrementalCopy(const TableRun& copy, const IncrementalSteps& steps);
// Deletes by the table's own statement and counts it whether or not a row went; upserts what was changed.
void IncrementalCopy(const TableRun& copy, UpsertRoutine* upsert);

// Looks at a statement's text; raises RuntimeError to stop the copy.
using Guard = void (*)(CopyRun& run, const std::string& sql);
struct UpsertGuards {
    Guard beforeUpdate = nullptr;
    Guard beforeInsert = nullptr;
    Guard afterwards = nullptr;  // is shown the statement that was executed last
};

// UPDATE by key and, when no row was affected, INSERT; counts what it did.
void Upsert(CopyRun& run, const Table& table, Object& record, const std::string& tableName,
            const UpsertGuards& guards = {});
// The statement that removes an element's row, which asks for the key alone; the number of rows affected.
platform::Long Remove(CopyRun& run, const Table& table, Object& element, const std::string& tableName);

// The pieces of the pattern, for the tables that depart from it.
ObjectRef CreateManager(const TableRun& copy);  // created and registered
// Registers a manager with the shared business component, if there is one; the manager to go on with.
ObjectRef RegisterManager(CopyRun& run, const ObjectRef& manager);
ObjectRef FetchByKeyRange(const TableRun& copy, Object& manager);  // Nothing where the ERP answers none
// Every record of the enumerator that is held.
void ForEachRecord(HeldObjects& held, const std::function<void(Object& record)>& act);
void Mark(const TableRun& copy);
void Sweep(const TableRun& copy);
// Every copied record counts as inserted.
void CountAllAsInserted(CopyRun& run);
// The next window begins at `startTime`; what was inserted and updated is logged.
void StampAndLogFullCopy(const TableRun& copy, const std::string& startTime);
// Runs a copy routine's body under its handler; the handler closes the manager that is held, if there is one.
void WithFailureReport(const TableRun& copy, std::string_view failureLabel, HeldObjects& held,
                       const std::function<void()>& body);

}  // namespace iqrx::engine
