#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kAvailabilityTypes = Checked({
    .name = "tcccp001",
    .titleLabel = "STIT0022",
    .columns = {{"ract", "getAvailabilityType", kText},
                {"dsca", "getDescription", kText},
                {"ptmu", "getPlanningTimeUnit", kText},
                {"hrsd", "getHoursPerDay", kText},
                {"avlb", "getAvailability", kText}},
    .fullRanges = {UpTo(6)},
    .auditKeys = {{"ract", UpTo(6)}},
    .outputFields = {"ract", "dsca", "ptmu", "hrsd", "avlb"},
    .update = "UPDATE {table} SET dsca = {dsca},ptmu = {ptmu},hrsd = {hrsd},avlb = {avlb},"
              "upd_flag = 0 WHERE ract ={ract}",
    .insert = "INSERT INTO {table} (ract,dsca,ptmu,hrsd,avlb,upd_flag) "
              "VALUES({ract},{dsca},{ptmu},{hrsd},{avlb},0)",
    .remove = "DELETE FROM {table} WHERE ract= {ract}",
});

void CopyAvailabilityTypes(const TableCall& call) {
    ChooseCopy(call, CopyAvailabilityTypesFull, CopyAvailabilityTypesIncremental);
}

void CopyAvailabilityTypesFull(const TableCall& call) {
    FullCopy(call, kAvailabilityTypes, UpsertAvailabilityType);
}

void CopyAvailabilityTypesIncremental(const TableCall& call) {
    IncrementalCopy(call, kAvailabilityTypes, UpsertAvailabilityType);
}

void UpsertAvailabilityType(const TableCall& call, Object& record) {
    Upsert(call, kAvailabilityTypes, record);
}

}  // namespace iqrx::tables
