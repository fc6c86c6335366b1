#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kSkillCombinations = Checked({
    .name = "tsmdm000",
    .titleLabel = "STIT0087",
    .columns = {{"skla", "getSkillI", kText},
                {"sklb", "getSkillII", kText},
                {"sklc", "getSkillIII", kText},
                {"untd", "getTimeDurationUnit", kText}},
    .fullRanges = {Between("0", "99")},
    .auditKeys = {{.field = "seqn", .range = Between("0", "99"), .keptByNoColumn = true}},
    .outputFields = {"skla", "sklb", "sklc", "untd"},
    // Without a WHERE on purpose: every row takes the values of the record.
    .update = "UPDATE {table} SET skla = {skla},sklb = {sklb},sklc = {sklc},untd = {untd},upd_flag =0 ",
    .insert = "INSERT INTO {table} (skla,sklb,sklc,untd,upd_flag) VALUES ({skla},{sklb},{sklc},{untd},0)",
    .remove = "DELETE FROM {table} WHERE skla= {skla}",
    .incrementalFailure = "SLBL0456",
    .countsEveryInsert = true,
});

void CopySkillCombinations(const TableCall& call) {
    ChooseCopy(call, CopySkillCombinationsFull, CopySkillCombinationsIncremental);
}

// Neither marks nor sweeps, and an update stays one: the first record may become a row, each further one
// overwrites all rows.
void CopySkillCombinationsFull(const TableCall& call) {
    FullCopy(call, kSkillCombinations, [&](HeldObjects& held) {
        held.enumerator = FetchByKeyRange(kSkillCombinations, *held.manager);
        const Literal startTime = call.run.Literals().CurrentTimeLiteral();
        if (!held.enumerator) return;
        ForEachRecord(held, [&](Object& record) { UpsertSkillCombination(call, record); });
        StampAndLogFullCopy(call, startTime);
    });
}

void CopySkillCombinationsIncremental(const TableCall& call) {
    IncrementalCopy(call, kSkillCombinations, UpsertSkillCombination);
}

void UpsertSkillCombination(const TableCall& call, Object& record) {
    Upsert(call, kSkillCombinations, record);
}

}  // namespace iqrx::tables
