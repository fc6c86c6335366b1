#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kInstallations = Checked({
    .name = "tscfg220",
    .titleLabel = "STIT0016",
    .columns = {{"ccfg", "getConfiguration", kText},
                {"dsca", "getDescription", kText, "desc"},
                {"ofbp", "getBusinessPartner", kText},
                {"cwoc", "getServiceCenter", kText},
                {"csar", "getServiceArea", kText},
                {"tecr", "getResponsibleTechnician", kText},  // an upsert's only: not an output field
                {"teca", "getFirstTechnician", kText},
                {"tecb", "getSecondTechnician", kText},
                {"cusc", "getCustomerCode", kText},
                {"czon", "getZone", kText},
                {"dist", "getTravelingDistance", kText},
                {"trti", "getTravelingTime", kText},
                {"ccal", "getCalendarCode", kText},
                {"cadr", "getAddressCode", kText}},
    .fullRanges = {UpTo(8)},
    .auditKeys = {{"ccfg", UpTo(8)}},
    .outputFields = {"ccfg", "desc", "ofbp", "cwoc", "csar", "teca", "tecb", "cusc", "czon", "dist", "trti",
                     "ccal", "cadr"},
    .update = "UPDATE  {table} SET  dsca ={dsca},ofbp ={ofbp},cwoc ={cwoc},csar ={csar},tecr ={tecr},"
              "teca ={teca},tecb ={tecb},cusc ={cusc},czon ={czon},dist ={dist},trti ={trti},ccal ={ccal},"
              "cadr ={cadr},upd_flag = 0 WHERE ccfg = {ccfg}",
    .insert = "INSERT INTO {table}(ccfg, dsca, ofbp, cwoc, csar, tecr, teca, tecb, cusc, czon, dist, trti, ccal, "
              "cadr, upd_flag) VALUES({ccfg},{dsca},{ofbp},{cwoc},{csar},{tecr},{teca},{tecb},{cusc},{czon},"
              "{dist},{trti},{ccal},{cadr},0)",
    .remove = "DELETE FROM {table} WHERE ccfg = {ccfg}",
});

void CopyInstallations(const TableCall& call) {
    ChooseCopy(call, CopyInstallationsFull, CopyInstallationsIncremental);
}

void CopyInstallationsFull(const TableCall& call) { FullCopy(call, kInstallations, UpsertInstallation); }

void CopyInstallationsIncremental(const TableCall& call) {
    IncrementalCopy(call, kInstallations, UpsertInstallation);
}

void UpsertInstallation(const TableCall& call, Object& record) { Upsert(call, kInstallations, record); }

}  // namespace iqrx::tables
