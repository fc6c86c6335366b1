#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/orders/orders.h"

namespace iqrx::tables {

using namespace engine;

// The activity number stands unquoted in an update and in a delete, quoted in an insert.
constexpr Table kPlannedActivities = Checked({
    .name = "tsspc200",
    .titleLabel = "STIT0021",
    .columns = {{"ccfg", "getConfiguration", kText},
                {"crac", "getActivity", kText},
                {"aseq", "getActivityNumber", kRaw},
                {"quotedAseq", "getActivityNumber", kQuotedWhole, "aseq"},
                {"dsca", "getDescription", kText, "desc"},
                {"cagr", "getActivityGroup", kText},
                {"cstp", "getServiceType", kText},
                {"cwoc", "getServiceCenter", kText},
                {"crob", "GetObject", kText},
                {"oseq", "getObjectNumber", kQuotedWhole},
                {"esct", "getEarliestStartTime", kUtcDate},
                {"psct", "getPlannedStartTime", kUtcDate},
                {"pfct", "getPlannedFinishTime", kUtcDate},
                {"lfct", "getLatestFinishTime", kUtcDate},
                {"adur", "getActivityDuration", kReal},
                {"trtm", "getTravelingTime", kReal},
                {"skla", "getSkill1", kText},
                {"sklb", "getSkill2", kText},
                {"sklc", "getSkill3", kText},
                {"appo", "getAppointment", kByte},
                {"stat", "getActivityStatus", kQuotedWhole},
                {"orno", "getServiceOrder", kText},
                {"acln", "getActivityLineNumber", kQuotedWhole}},
    .fullRanges = {UpTo(8), UpTo(8)},
    .auditKeys = {{"ccfg", UpTo(8)}, {"crac", UpTo(8)}, {"aseq", Between("0000", "9999")}},
    .outputFields = {"ccfg", "crac", "aseq", "desc", "cagr", "cstp", "cwoc", "crob", "oseq", "esct", "psct",
                     "pfct", "lfct", "adur", "trtm", "skla", "sklb", "sklc", "orno", "acln", "stat", "appo"},
    .update =
        "UPDATE {table} SET ccfg={ccfg},crac={crac},aseq={aseq},dsca={dsca},cagr={cagr},cstp={cstp},cwoc={cwoc},crob={crob},oseq={oseq},esct={esct},psct={psct},pfct={pfct},lfct={lfct},adur={adur},trtm={trtm},skla={skla},sklb={sklb},sklc={sklc},appo={appo},stat={stat},orno={orno},acln={acln},upd_flag = 0  WHERE ccfg= {ccfg} AND   crac= {crac} AND   aseq= {aseq}",
    .insert =
        "INSERT INTO {table} (ccfg,crac,aseq,dsca,cagr,cstp,cwoc,crob,oseq,esct,psct,pfct,lfct,adur,trtm,skla,sklb,sklc,appo,stat,orno,acln,upd_flag) VALUES ({ccfg},{crac},{quotedAseq},{dsca},{cagr},{cstp},{cwoc},{crob},{oseq},{esct},{psct},{pfct},{lfct},{adur},{trtm},{skla},{sklb},{sklc},{appo},{stat},{orno},{acln},0)",
    .remove = "DELETE FROM {table} WHERE ccfg= {ccfg} AND   crac= {crac} AND   aseq= {aseq}",
    .fullFailure = "SLBL0512",
    .countsEveryInsert = true,
});

void CopyPlannedActivities(const TableCall& call) {
    ChooseCopy(call, CopyPlannedActivitiesFull, CopyPlannedActivitiesIncremental);
}

void CopyPlannedActivitiesFull(const TableCall& call) {
    FullCopy(call, kPlannedActivities, UpsertPlannedActivity);
}

void CopyPlannedActivitiesIncremental(const TableCall& call) {
    IncrementalCopy(call, kPlannedActivities, UpsertPlannedActivity);
}

void UpsertPlannedActivity(const TableCall& call, Object& activity) {
    Upsert(call, kPlannedActivities, activity);
}

}  // namespace iqrx::tables
