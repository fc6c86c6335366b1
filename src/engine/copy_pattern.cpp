#include "engine/copy_pattern.h"

#include <limits>
#include <vector>

#include "control/cls_data_copy.h"
#include "engine/record_statements.h"
#include "platform/conversions.h"
#include "platform/error.h"

namespace iqrx::engine {

using platform::Call;

namespace {

constexpr runtime::Sql<0> kMark = "UPDATE {table} SET upd_flag = 1 ";
constexpr runtime::Sql<0> kSweep = "DELETE FROM {table} WHERE upd_flag = 1";

// What an incremental copy holds of the ERP; it closes none of it.
struct Trail {
    Value manager, record;
    ObjectRef criteria, period;
    std::vector<ObjectRef> parameters;
    ObjectRef reader, status;
    Value element, original;
};

void CreateAuditObjects(erp::Erp& erp, std::size_t keys, Trail& trail) {
    trail.criteria = erp.CreateObject("com.orva.erp.audit.AuditCriteria");
    trail.period = erp.CreateObject("com.orva.erp.audit.Period");
    for (std::size_t i = 0; i < keys; ++i)
        trail.parameters.push_back(erp.CreateObject("com.orva.erp.audit.Parameter"));
    trail.reader = erp.CreateObject("com.orva.erp.audit.AuditReader");
    trail.status = erp.CreateObject("com.orva.erp.audit.RecordStatus");
}

std::string UpperBound(const KeyBounds& range) {
    return range.width > 0 ? runtime::MaxKeyString(range.width) : std::string(range.to);
}

void SetCriteria(const Trail& trail, const TableDef& def, platform::Date from, platform::Date to) {
    Call(*trail.period, "setFrom", from);
    Call(*trail.period, "setTo", to);
    Call(*trail.criteria, "setPeriod", trail.period);
    for (std::size_t i = 0; i < def.auditKeys.size(); ++i) {
        const AuditKey& key = def.auditKeys[i];
        Call(*trail.parameters[i], "setFieldName", std::string(key.field));
        Call(*trail.parameters[i], "setFrom", std::string(key.range.from));
        Call(*trail.parameters[i], "setTo", UpperBound(key.range));
    }
    for (const ObjectRef& parameter : trail.parameters) Call(*trail.criteria, "addParameter", parameter);
    for (const std::string_view field : def.outputFields)
        Call(*trail.criteria, "addOutputField", std::string(field));
}

bool IsTrue(const Value& answer) { return !answer.Is<platform::Null>() && platform::ToBoolean(answer); }

// An error of its own must not hide the one that is being reported.
void CloseAfterFailure(const ObjectRef& manager) {
    try {
        if (manager) Call(*manager, "CloseManager");
    } catch (const std::exception&) {
    }
}

// Every change of the trail, oldest first; the elements carry the values, the original object is taken along
// unread. A row and what the change-log says of it stand or fall together.
void ForEachChange(runtime::DatabaseSession& database, Trail& trail, const IncrementalSteps& steps) {
    const ObjectRef manager = platform::ToObject(trail.manager);
    while (IsTrue(Call(*trail.reader, "hasMoreElements"))) {
        trail.element = Call(*trail.reader, "nextElement");
        trail.original = Call(*trail.reader, "getOriginalObject", platform::ByRef{trail.element});
        const ObjectRef element = platform::ToObject(trail.element);
        const auto is = [&](std::string_view change) { return IsTrue(Call(*trail.status, change, element)); };
        if (is("isDeleted")) {
            database.RunAsUnit([&] { steps.deleted({*element, *manager, false}); });
            continue;
        }
        const bool isUpdated = is("isUpdated");
        const bool isInserted = is("isInserted");
        if (isUpdated || isInserted)
            database.RunAsUnit([&] { steps.changed({*element, *manager, isUpdated}); });
    }
}

void ReadAuditTrail(const TableCall& call, const Table& table, Trail& trail, const IncrementalSteps& steps) {
    control::Process& process = call.run.process;
    trail.manager = CreateManager(call, table);
    trail.record = call.run.Erp(call.runParameter).CreateRecord(table.Layout());
    CreateAuditObjects(call.run.Erp(call.runParameter), table.def.auditKeys.size(), trail);
    Call(*platform::ToObject(trail.manager), "SetRunParameter", call.runParameter);
    const platform::Date from = process.controlTables.GetTableLastUpdate(call.tableName);
    const platform::Date to = process.machine.clock.Now();
    SetCriteria(trail, table.def, from, to);
    Value criteria = trail.criteria;
    Call(*trail.reader, "Initialize", platform::ByRef{trail.manager}, platform::ByRef{trail.record},
         platform::ByRef{criteria});
    steps.beforeLoop();
    ForEachChange(process.database, trail, steps);
    if (const auto stamp = call.run.Literals().UtcDateLiteral(to))
        process.controlTables.SetTableLastUpdate(call.tableName, *stamp);
    process.database.AwaitAnswers();
    const control::Counters& counters = call.run.counters;
    process.runLog.LogTableCounts(call.tableName, counters.inserted, counters.updated, counters.deleted);
}

// Records before the one that failed may still wait for their answers: what failed there came first.
platform::RuntimeError FirstError(runtime::DatabaseSession& database, const platform::RuntimeError& error) {
    try {
        database.AwaitAnswers();
        return error;
    } catch (...) {
        return platform::CurrentError();
    }
}

// Runs a copy routine's body under its handler; the handler closes the manager that is held, if there is one.
void WithFailureReport(const TableCall& call, const Table& table, std::string_view failureLabel,
                       HeldObjects& held, const std::function<void()>& body) {
    try {
        body();
    } catch (...) {
        control::Process& process = call.run.process;
        const platform::RuntimeError error = FirstError(process.database, platform::CurrentError());
        process.runLog.LogError("", error);
        CloseAfterFailure(held.manager);
        held.LetGo();
        runtime::MessageCatalog& messages = process.messages;
        const std::string text = runtime::FillFirst(messages.GetI18nText(failureLabel), "%1",
                                                    messages.GetI18nText(table.def.titleLabel));
        throw platform::RuntimeError(error.number, error.source,
                                     control::FailedMessage(messages, messages.GetI18nText("STIT0095"), text));
    }
}

}  // namespace

void ChooseCopy(const TableCall& call, Routine* full, Routine* incremental) {
    if (call.syncMethod == control::kFull) full(call);
    if (call.syncMethod == control::kIncremental) incremental(call);
}

ObjectRef CreateManager(const TableCall& call, const Table& table) {
    return RegisterManager(call.run, call.run.Erp(call.runParameter).CreateManager(table.Layout()));
}

ObjectRef RegisterManager(CopyRun& run, const ObjectRef& manager) {
    Value registered = manager;
    if (const ObjectRef& component = run.process.sharedBusComponent)
        Call(*component, "addManager", platform::ByRef{registered});
    return platform::ToObject(registered);
}

ObjectRef FetchByKeyRange(const Table& table, Object& manager) {
    std::vector<platform::Argument> bounds;
    for (const KeyBounds& range : table.def.fullRanges) {
        bounds.push_back({range.numeric ? Value(range.numberFrom) : Value(std::string(range.from))});
        bounds.push_back({range.numeric ? Value(range.numberTo) : Value(UpperBound(range))});
    }
    return platform::ObjectOrNothing(manager.Invoke("GetByKeyRange", bounds));
}

Object* HeldObjects::NextRecord() {
    if (!IsTrue(enumerator->Get("hasMoreElements"))) return nullptr;
    record = platform::ToObject(enumerator->Get("nextElement"));
    return record.get();
}

void Mark(const TableCall& call) { call.run.Database().Send(kMark.On(call.tableName)); }

void Sweep(const TableCall& call) { call.run.Database().Send(kSweep.On(call.tableName)); }

void HeldObjects::LetGo() {
    enumerator.reset();
    record.reset();
}

// Answers that come later count in the same way, and can't overflow: nowhere near so many are under way.
void CountAllAsInserted(CopyRun& run) {
    constexpr platform::Long kMany = std::numeric_limits<platform::Long>::max() / 4;
    control::Counters& counters = run.counters;
    if (counters.inserted > kMany || counters.updated > kMany) run.Database().AwaitAnswers();
    control::Add(counters.inserted, counters.updated);
    counters.updated = 0;
    counters.countsAllAsInserted = true;
}

void StampAndLogFullCopy(const TableCall& call, const Literal& startTime) {
    call.run.process.controlTables.SetTableLastUpdate(call.tableName, startTime);
    call.run.Database().AwaitAnswers();
    const control::Counters& counters = call.run.counters;
    call.run.process.runLog.LogTableCounts(call.tableName, counters.inserted, counters.updated, 0);
}

void FullCopy(const TableCall& call, const Table& table,
              const std::function<void(HeldObjects& held)>& copyRecords) {
    call.run.counters.inserted = 0;
    call.run.counters.countsAllAsInserted = false;
    HeldObjects held;
    WithFailureReport(call, table, table.def.fullFailure, held, [&] {
        held.manager = CreateManager(call, table);
        Call(*held.manager, "SetRunParameter", call.runParameter);
        copyRecords(held);
        call.run.Database().AwaitAnswers();
        Call(*held.manager, "CloseManager");
        held.LetGo();
    });
}

void FullCopy(const TableCall& call, const Table& table, UpsertRoutine* upsert) {
    FullCopy(call, table, [&](HeldObjects& held) {
        held.enumerator = FetchByKeyRange(table, *held.manager);
        const Literal startTime = call.run.Literals().CurrentTimeLiteral();
        if (!held.enumerator) return;
        Mark(call);
        ForEachRecord(held, [&](Object& record) { upsert(call, record); });
        CountAllAsInserted(call.run);
        Sweep(call);
        StampAndLogFullCopy(call, startTime);
    });
}

void IncrementalCopy(const TableCall& call, const Table& table, const IncrementalSteps& steps) {
    call.run.counters = {};
    Trail trail;
    HeldObjects nothingToClose;  // an incremental copy releases its manager without closing it
    WithFailureReport(call, table, table.def.incrementalFailure, nothingToClose,
                      [&] { ReadAuditTrail(call, table, trail, steps); });
}

void IncrementalCopy(const TableCall& call, const Table& table, UpsertRoutine* upsert) {
    IncrementalCopy(call, table,
                    {.deleted =
                         [&](const AuditElement& change) {
                             Remove(call, table, change.element);
                             control::Add(call.run.counters.deleted, 1);
                         },
                     .changed = [&](const AuditElement& change) { upsert(call, change.element); }});
}

void Upsert(const TableCall& call, const Table& table, Object& record) {
    Upsert(call, table, table.update, record);
}

void Upsert(const TableCall& call, const Table& table, const TableStatement& update, Object& record) {
    CopyRun& run = call.run;
    RecordStatements statements(table, record, call.tableName, run.Literals());
    run.Database().Upsert(
        statements.Fill(update), [&] { return statements.Fill(table.insert); },
        table.def.countsEveryInsert ? run.rowsHoweverReported : run.rows);
}

platform::Long Remove(const TableCall& call, const Table& table, Object& element) {
    RecordStatements statements(table, element, call.tableName, call.run.Literals(), AskDates::InTheirPlace);
    return call.run.Database().Execute(statements.Fill(table.remove));
}

}  // namespace iqrx::engine
