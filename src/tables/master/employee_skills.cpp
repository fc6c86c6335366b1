#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kEmployeeSkills = Checked({
    .name = "tsmdm135",
    .titleLabel = "STIT0013",
    .columns = {{"emno", "getServiceEmployee", kText},
                {"skll", "getSkill", kText},
                {"cogr", "getObjectGroup", kText},
                {"afct", "getSkillFactor", kReal}},
    .fullRanges = {UpTo(6), UpTo(4), UpTo(6)},
    .auditKeys = {{"emno", UpTo(6)}, {"skll", UpTo(4)}, {"cogr", UpTo(6)}},
    .outputFields = {"emno", "skll", "cogr", "afct"},
    .update = "UPDATE {table} SET afct = {afct},upd_flag = 0  "
              "WHERE emno = {emno} AND skll= {skll} AND cogr = {cogr}",
    .insert = "INSERT INTO {table} (emno, skll, cogr, afct, upd_flag) VALUES ({emno},{skll},{cogr},{afct},0)",
    .remove = "DELETE FROM {table} WHERE emno= {emno} AND skll = {skll} AND cogr = {cogr}",
});

void CopyEmployeeSkills(const TableCall& call) {
    ChooseCopy(call, CopyEmployeeSkillsFull, CopyEmployeeSkillsIncremental);
}

void CopyEmployeeSkillsFull(const TableCall& call) { FullCopy(call, kEmployeeSkills, UpsertEmployeeSkill); }

void CopyEmployeeSkillsIncremental(const TableCall& call) {
    IncrementalCopy(call, kEmployeeSkills, UpsertEmployeeSkill);
}

void UpsertEmployeeSkill(const TableCall& call, Object& record) { Upsert(call, kEmployeeSkills, record); }

}  // namespace iqrx::tables
