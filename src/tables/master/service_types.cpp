#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kServiceTypes = Checked({
    .name = "tsmdm030",
    .titleLabel = "STIT0010",
    .columns = {{"cstp", "getServiceType", kText},
                {"dsca", "getServiceTypeDescription", kText, "desc"},
                {"prod", "getServiceProcedure", kText, "proc"},
                {"ract", "getAvailabilityType", kText},
                {"dahe", "getGenDefaultAssignment", kYesNo}},
    .fullRanges = {UpTo(3)},
    .auditKeys = {{"cstp", UpTo(3)}},
    .outputFields = {"desc", "proc", "ract", "dahe"},
    .update =
        "UPDATE {table} SET dsca = {dsca}, prod = {prod}, ract = {ract}, dahe = {dahe}, upd_flag = 0 WHERE cstp = {cstp}",
    .insert =
        "INSERT INTO {table} (cstp,dsca,prod,ract,dahe,upd_flag) VALUES ({cstp},{dsca},{prod},{ract},{dahe},0)",
    .remove = "DELETE FROM {table} WHERE cstp= {cstp}",
});

void CopyServiceTypes(const TableCall& call) {
    ChooseCopy(call, CopyServiceTypesFull, CopyServiceTypesIncremental);
}

void CopyServiceTypesFull(const TableCall& call) { FullCopy(call, kServiceTypes, UpsertServiceType); }

void CopyServiceTypesIncremental(const TableCall& call) {
    IncrementalCopy(call, kServiceTypes, UpsertServiceType);
}

void UpsertServiceType(const TableCall& call, Object& record) { Upsert(call, kServiceTypes, record); }

}  // namespace iqrx::tables
