#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kServiceAreas = Checked({
    .name = "tsmdm105",
    .titleLabel = "STIT0011",
    .columns = {{"csar", "getServiceArea", kText},
                {"dsca", "getServiceAreaDescription", kText, "desc"},
                {"artp", "getServiceAreaType", kRaw},  // an enumeration of the ERP, kept as its number
                {"cmsa", "getMainServiceArea", kText},
                {"cwoc", "getServiceCenter", kText},
                {"cwar", "getWarehouse", kText},
                {"trti", "getAverageTravelingTime", kReal},
                {"dist", "getAverageTravelingDistance", kReal},
                {"ccha", "getCallOutCharge", kReal},
                {"ccur", "getCurrency", kText},
                {"clrt", "getLaborRate", kText}},
    .fullRanges = {UpTo(3)},
    .auditKeys = {{"csar", UpTo(3)}},
    .outputFields = {"csar", "desc", "artp", "cmsa", "cwoc", "cwar", "trti", "dist", "ccha", "ccur", "clrt"},
    .update = "UPDATE {table} SET dsca = {dsca},artp = {artp}, cmsa = {cmsa},cwoc = {cwoc},cwar = {cwar},"
              "trti = {trti},dist = {dist},ccha = {ccha},ccur = {ccur},clrt = {clrt}, "
              "upd_flag = 0 WHERE  csar = {csar}",
    .insert = "INSERT INTO {table} (csar,dsca, artp, cmsa, cwoc, cwar, trti, dist, ccha, ccur, clrt, upd_flag) "
              "VALUES ({csar},{dsca},{artp},{cmsa},{cwoc},{cwar},{trti},{dist},{ccha},{ccur},{clrt}, 0)",
    .remove = "DELETE FROM {table} WHERE csar= {csar}",
});

void CopyServiceAreas(const TableCall& call) {
    ChooseCopy(call, CopyServiceAreasFull, CopyServiceAreasIncremental);
}

void CopyServiceAreasFull(const TableCall& call) { FullCopy(call, kServiceAreas, UpsertServiceArea); }

void CopyServiceAreasIncremental(const TableCall& call) {
    IncrementalCopy(call, kServiceAreas, UpsertServiceArea);
}

void UpsertServiceArea(const TableCall& call, Object& record) { Upsert(call, kServiceAreas, record); }

}  // namespace iqrx::tables
