#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kSkills = Checked({
    .name = "tsmdm130",
    .titleLabel = "STIT0012",
    .columns = {{"skll", "getSkill", kText},
                {"dsca", "getDescription", kText, "desc"},
                {"clrt", "getLaborRate", kText}},
    .fullRanges = {UpTo(4)},
    .auditKeys = {{"skll", UpTo(4)}},
    .outputFields = {"skll", "desc", "clrt"},
    .update = "UPDATE {table} SET dsca = {dsca}, clrt = {clrt}, upd_flag = 0 WHERE skll = {skll}",
    .insert = "INSERT INTO {table} (skll,dsca,clrt,upd_flag) VALUES ({skll},{dsca},{clrt}, 0)",
    .remove = "DELETE FROM {table} WHERE skll= {skll}",
});

void CopySkills(const TableCall& call) { ChooseCopy(call, CopySkillsFull, CopySkillsIncremental); }
void CopySkillsFull(const TableCall& call) { FullCopy(call, kSkills, UpsertSkill); }
void CopySkillsIncremental(const TableCall& call) { IncrementalCopy(call, kSkills, UpsertSkill); }
void UpsertSkill(const TableCall& call, Object& record) { Upsert(call, kSkills, record); }

}  // namespace iqrx::tables
