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

void FullCopyByStatus(const engine::TableRun& copy, const std::function<void()>& begin,
                      const std::function<void(platform::Object& record)>& upsert) {
    engine::FullCopy(copy, [&](engine::HeldObjects& held) {
        const std::string startTime = copy.run.Literals().CurrentTimeLiteral();
        begin();
        const auto filterFlag = copy.run.process.controlTables.GetFilterFlag(copy.tableName);
        for (const StatusRange& statuses : StatusRanges(filterFlag)) {
            held.enumerator = FetchByStatusRange(*held.manager, statuses);
            if (!held.enumerator) return;
            engine::ForEachRecord(held, upsert);
        }
        engine::CountAllAsInserted(copy.run);
        engine::Sweep(copy);
        engine::StampAndLogFullCopy(copy, startTime);
        FinishFullSync(copy);
    });
}

void FinishFullSync(const engine::TableRun& copy) {
    copy.run.process.controlTables.PurgeAuditTable(copy.tableName);
    copy.run.process.controlTables.MarkFullSyncFinish(copy.tableName);
}

std::string ChangeLogTime(const runtime::SqlLiterals& literals) {
    return literals.WrapDateLiteral(runtime::GetSyncTimeText());
}

}  // namespace iqrx::tables
