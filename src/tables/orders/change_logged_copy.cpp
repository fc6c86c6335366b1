#include "tables/orders/change_logged_copy.h"

#include <array>
#include <utility>

#include "platform/conversions.h"

namespace iqrx::tables {

namespace {

constexpr std::array<platform::Byte, 7> kStatusOfBit = {5, 10, 15, 20, 23, 25, 35};
constexpr int kBitWithoutStatus = 7;

constexpr platform::Integer kAllBut25 = 95;
constexpr platform::Integer kAllBut23And25 = 79;

bool IsSet(platform::Integer filterFlag, int bit) { return (filterFlag >> bit & 1) != 0; }

constexpr int kOrderNumberWidth = 9;

engine::ObjectRef FetchByStatusRange(engine::Object& manager, const StatusRange& statuses) {
    return platform::ObjectOrNothing(platform::Call(manager, "GetByStatusRange", std::string(),
                                                    runtime::MaxKeyString(kOrderNumberWidth), statuses.from,
                                                    statuses.to));
}

}  // namespace

std::vector<StatusRange> StatusRanges(platform::Integer filterFlag) {
    std::vector<StatusRange> ranges;
    bool inRun = false;
    for (int bit = 0; bit < kBitWithoutStatus; ++bit) {
        const platform::Byte status = kStatusOfBit[static_cast<std::size_t>(bit)];
        const bool wasInRun = std::exchange(inRun, IsSet(filterFlag, bit));
        if (!inRun) continue;
        if (!wasInRun) ranges.push_back({.from = status});
        ranges.back().to = status;
    }
    // A run that goes on to the bit without a status is never closed, and so is never fetched.
    if (inRun && IsSet(filterFlag, kBitWithoutStatus)) ranges.pop_back();
    return ranges;
}

bool FilterIsActive(platform::Integer filterFlag) {
    return filterFlag == kAllBut25 || filterFlag == kAllBut23And25;
}

bool IsExcluded(platform::Integer filterFlag, platform::Long status) {
    return status == 25 || (filterFlag == kAllBut23And25 && status == 23);
}

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
        FinishFullCopy(call, startTime);
    });
}

void FinishFullCopy(const engine::TableCall& call, const engine::Literal& startTime) {
    engine::CountAllAsInserted(call.run);
    engine::Sweep(call);
    engine::StampAndLogFullCopy(call, startTime);
    call.run.process.controlTables.PurgeAuditTable(call.tableName);
    call.run.process.controlTables.MarkFullSyncFinish(call.tableName);
}

engine::Literal ChangeLogTime(const runtime::SqlLiterals& literals) {
    return literals.WrapDateLiteral(runtime::GetSyncTimeText());
}

}  // namespace iqrx::tables
