// The pattern that every table follows: full copy by mark and sweep, incremental copy from the audit trail,
// row upsert. Each member raises RuntimeError after it has logged the failure, with a description in the
// catalog's words.
#pragma once

#include <functional>
#include <string>

#include "control/copy_run.h"
#include "engine/table.h"
#include "platform/object.h"

namespace iqrx::engine {

using control::CopyRun;
using control::Routine;  // a table's entry routine, which looks at the method; its full copy; its incremental copy
using control::TableCall;
using platform::Integer;
using platform::Object;
using platform::ObjectRef;

// Writes one record or audit element.
using UpsertRoutine = void(const TableCall& call, Object& record);

// Calls the copy that the method asks for, if any.
void ChooseCopy(const TableCall& call, Routine* full, Routine* incremental);

// By mark and sweep. Does nothing when the ERP returns no enumerator.
void FullCopy(const TableCall& call, const Table& table, UpsertRoutine* upsert);

// What a full copy holds of the ERP. After a failure the manager is closed and the others are let go when the
// failure has been logged, not before.
struct HeldObjects {
    ObjectRef manager, enumerator, record;

    Object* NextRecord();  // of the enumerator, held from now on; null after the last
    void LetGo();          // of all but the manager
};
// The frame of a full copy around a table's own way with its records: a manager that knows the run parameter
// is created before and closed after it.
void FullCopy(const TableCall& call, const Table& table,
              const std::function<void(HeldObjects& held)>& copyRecords);

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
void IncrementalCopy(const TableCall& call, const Table& table, const IncrementalSteps& steps);
// Deletes by the table's own statement and counts it whether or not a row went; upserts what was changed.
void IncrementalCopy(const TableCall& call, const Table& table, UpsertRoutine* upsert);

// UPDATE by key and, when no row was affected, INSERT; counts what it did.
void Upsert(const TableCall& call, const Table& table, Object& record);
void Upsert(const TableCall& call, const Table& table, const TableStatement& update, Object& record);
// The statement that removes an element's row, which asks for the key only; the number of rows affected.
platform::Long Remove(const TableCall& call, const Table& table, Object& element);

// The pieces of the pattern, for the tables that depart from it.
ObjectRef CreateManager(const TableCall& call, const Table& table);  // created and registered
// Registers a manager with the shared business component, if there is one; the manager to go on with.
ObjectRef RegisterManager(CopyRun& run, const ObjectRef& manager);
// Nothing where the ERP returns none.
ObjectRef FetchByKeyRange(const Table& table, Object& manager);
// Every record of the enumerator that is held.
template <class Act>
void ForEachRecord(HeldObjects& held, Act act) {
    while (Object* record = held.NextRecord()) act(*record);
}
void Mark(const TableCall& call);
void Sweep(const TableCall& call);
// Every copied record counts as inserted.
void CountAllAsInserted(CopyRun& run);
// The next window begins at `startTime`; what was inserted and updated is logged.
void StampAndLogFullCopy(const TableCall& call, const Literal& startTime);

}  // namespace iqrx::engine
