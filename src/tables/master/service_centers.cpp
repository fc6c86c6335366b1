#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kServiceCenters = Checked({
    .name = "tsmdm100",
    .titleLabel = "STIT0009",
    .columns = {{"cwoc", "getServiceCentersCode", kText},
                {"dsca", "getDescription", kText},
                {"ccal", "getCalendarCode", kText},
                {"wctp", "getServiceCenterType", kText},
                {"cmwc", "getMainServiceCenter", kText},
                {"cwar", "getWarehouse", kText},
                {"clrt", "getLaborRate", kText},
                {"srtp", "getFieldOfSupport", kText},
                {"srep", "getSalesRepresentative", kText}},
    .fullRanges = {UpTo(6)},
    .auditKeys = {{"cwoc", UpTo(6)}},
    // Neither the description nor the calendar is asked for.
    .outputFields = {"cwoc", "wctp", "cmwc", "cwar", "clrt", "srtp", "srep"},
    .update = "UPDATE {table} SET dsca = {dsca}, ccal = {ccal}, wctp = {wctp}, cmwc = {cmwc}, cwar = {cwar}, "
              "clrt = {clrt}, srtp = {srtp}, srep = {srep},upd_flag = 0 WHERE cwoc = {cwoc}",
    .insert = "INSERT INTO {table}(cwoc,dsca,ccal,wctp,cmwc,cwar,clrt,srtp,srep,upd_flag) VALUES ("
              "{cwoc},{dsca},{ccal},{wctp},{cmwc},{cwar},{clrt},{srtp},{srep},0)",
    .remove = "DELETE FROM {table} WHERE cwoc= {cwoc}",
});

void CopyServiceCenters(const TableCall& call) {
    ChooseCopy(call, CopyServiceCentersFull, CopyServiceCentersIncremental);
}

void CopyServiceCentersFull(const TableCall& call) { FullCopy(call, kServiceCenters, UpsertServiceCenter); }

void CopyServiceCentersIncremental(const TableCall& call) {
    IncrementalCopy(call, kServiceCenters, UpsertServiceCenter);
}

void UpsertServiceCenter(const TableCall& call, Object& record) { Upsert(call, kServiceCenters, record); }

}  // namespace iqrx::tables
