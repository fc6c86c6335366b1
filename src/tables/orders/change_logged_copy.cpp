#include "tables/orders/change_logged_copy.h"

#include "tables/orders/status_ranges.h"

namespace iqrx::tables {

namespace {

constexpr int kOrderNumberWidth = 9;

engine::ObjectRef FetchByStatusRange(engine::Object& manager, const StatusRange& statuses) {
    const platform::Value enumerator =
        platform::Call(manager, "GetByStatusRange", std::string(), runtime::MaxKeyString(kOrderNumberWidth),
                       statuses.from, statuses.to);
    return enumerator.Is<engine::ObjectRef>() ? enumerator.As<engine::ObjectRef>() : engine::ObjectRef();
}

}  // namespace

void FullCopyByStatus(const engine::TableCall& call, const engine::Table& table, engine::Routine* begin,
                      engine::UpsertRoutine* upsert) {
    engine::FullCopy(call, table, [&](engine::HeldObjects& held) {
        const engine::Literal startTime = call.run.Literals().CurrentTimeLiteral();
        begin(call);
        const auto filterFlag = call.run.process.controlTables.GetFilterFlag(call.tableName);
        for (const StatusRange& statuses : StatusRanges(filterFlag)) {
            held.enumerator = FetchByStatusRange(*held.manager, statuses);
            if (!held.enumerator) return;
            engine::ForEachRecord(held, [&](engine::Object& record) { upsert(call, record); });
        }
        engine::CountAllAsInserted(call.run);
        engine::Sweep(call);
        engine::StampAndLogFullCopy(call, startTime);
        FinishFullSync(call);
    });
}

void FinishFullSync(const engine::TableCall& call) {
    call.run.process.controlTables.PurgeAuditTable(call.tableName);
    call.run.process.controlTables.MarkFullSyncFinish(call.tableName);
}

engine::Literal ChangeLogTime(const runtime::SqlLiterals& literals) {
    return literals.WrapDateLiteral(runtime::GetSyncTimeText());
}

}  // namespace iqrx::tables
