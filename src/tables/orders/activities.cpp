#include "platform/conversions.h"
#include "tables/definitions.h"
#include "tables/orders/change_logged_copy.h"
#include "tables/orders/orders.h"

namespace iqrx::tables {

using namespace engine;

// An update leaves `crac` alone: an activity keeps the reference activity that it was inserted with.
constexpr Table kActivities = Checked({
    .name = "tssoc210",
    .titleLabel = "STIT0020",
    .columns = {{"orno", "getServiceOrder", kText},
                {"acln", "getActivityLineNumber", kRaw},
                {"crac", "getReferenceActivity", kText},
                {"dsca", "getDescription", kText, "desc"},
                {"cstp", "getServiceType", kText},
                {"cagr", "getActivityGroup", kText},
                {"ccfg", "getConfiguration", kText},
                {"crob", "GetObject", kText},
                {"oseq", "getObjectNumber", kRaw},
                {"ccll", "getCall", kText},
                {"crtc", "getResponseTime", kText},
                {"prpr", "getProblemPriority", kRaw},
                {"cupr", "getCustomerPriority", kRaw},
                {"obpr", "getObjectPriority", kRaw},
                {"cprl", "getProblem", kText},
                {"cstn", "getSolution", kText},
                {"asta", "getActivityStatus", kRaw},
                {"skla", "getSkill1", kText},
                {"sklb", "getSkill2", kText},
                {"sklc", "getSkill3", kText},
                {"acdu", "getActivityDuration", kReal},
                {"appo", "getAppointment", kByte},
                {"pstm", "getPlannedStartTime", kUtcDate},
                {"pftm", "getPlannedFinishTime", kUtcDate},
                {"estm", "getPlannedEarliestStartTime", kUtcDate},
                {"lftm", "getPlannedLatestFinishTime", kUtcDate},
                {"astm", "getExecutionStartTime", kUtcDate},
                {"aftm", "getExecutionFinishTime", kUtcDate}},
    .auditKeys = {{"orno", UpTo(9)}, {"acln", Between("0000", "9999")}},
    .outputFields = {"acln", "asta", "desc", "crac", "cstp", "cagr", "ccfg", "crob", "oseq",
                     "ccll", "crtc", "prpr", "cupr", "obpr", "cprl", "cstn", "skla", "sklb",
                     "sklc", "acdu", "appo", "pstm", "pftm", "estm", "lftm", "astm", "aftm"},
    .statusField = "asta",
    .update =
        "UPDATE {table} SET dsca={dsca},cstp={cstp},cagr={cagr},ccfg={ccfg},crob={crob},oseq={oseq},ccll={ccll},crtc={crtc},prpr={prpr},cupr={cupr},obpr={obpr},cprl={cprl},cstn={cstn},asta={asta},skla={skla},sklb={sklb},sklc={sklc},acdu={acdu},appo={appo},pstm={pstm},pftm={pftm},estm={estm},lftm={lftm},astm={astm},aftm={aftm},upd_flag = 0  WHERE orno= {orno} AND   acln= {acln}",
    .insert =
        "INSERT INTO {table} (orno,acln,crac,dsca,cstp,cagr,ccfg,crob,oseq,ccll,crtc,prpr,cupr,obpr,cprl,cstn,asta,skla,sklb,sklc,acdu,appo,pstm,pftm,estm,lftm,astm,aftm,upd_flag) VALUES ({orno},{acln},{crac},{dsca},{cstp},{cagr},{ccfg},{crob},{oseq},{ccll},{crtc},{prpr},{cupr},{obpr},{cprl},{cstn},{asta},{skla},{sklb},{sklc},{acdu},{appo},{pstm},{pftm},{estm},{lftm},{astm},{aftm},0)",
    .fullFailure = "SLBL0512",
    .countsEveryInsert = true,
});

namespace {

struct ActivityKey {
    std::string orno;
    Long acln;
};

ActivityKey KeyOf(Object& activity) {
    return {platform::ToText(activity.Get("getServiceOrder")),
            platform::ToLong(activity.Get("getActivityLineNumber"))};
}

constexpr runtime::Sql<2> kLocalActivity = "SELECT * FROM {table} WHERE orno= {orno} AND   acln= {acln}";
constexpr runtime::Sql<2> kDelete = "DELETE FROM tssoc210  WHERE orno= {orno} AND   acln= {acln}";
constexpr runtime::Sql<2> kDeleteAudit = "DELETE FROM tssoc210_audit WHERE orno= {orno} AND   acln= {acln}";
constexpr runtime::Sql<4> kInsertAudit =
    "INSERT INTO tssoc210_audit(orno,acln,time,action) VALUES(  {orno},{acln},{time},{action})";

void ApplyChange(const TableCall& call, Integer filterFlag, const AuditElement& change) {
    CopyRun& run = call.run;
    const ActivityKey key = KeyOf(change.element);
    const auto local = run.Database().OpenRecordset(
        kLocalActivity.On(call.tableName, run.Literals().QuoteSqlString(key.orno), Literal::Whole(key.acln)));
    if (FilterIsActive(filterFlag) &&
        IsExcluded(filterFlag, platform::ToLong(change.element.Get("getActivityStatus")))) {
        if (!local->Bof()) DeleteServiceOrderActivity(run, key.orno, key.acln);
        return;
    }
    UpsertServiceOrderActivity(call, change.element);
    WriteServiceOrderActivityAudit(run, key.orno, key.acln, change.isUpdated ? "U" : "I");
}

}  // namespace

void CopyServiceOrderActivities(const TableCall& call) {
    ChooseCopy(call, CopyServiceOrderActivitiesFull, CopyServiceOrderActivitiesIncremental);
}

void CopyServiceOrderActivitiesFull(const TableCall& call) {
    FullCopyByStatus(
        call, kActivities,
        [](const TableCall& copy) {
            copy.run.process.controlTables.MarkFullSyncStart(copy.tableName);
            Mark(copy);
        },
        UpsertServiceOrderActivity);
}

void CopyServiceOrderActivitiesIncremental(const TableCall& call) {
    Integer filterFlag = 0;
    IncrementalCopy(
        call, kActivities,
        {.deleted =
             [&](const AuditElement& change) {
                 const ActivityKey key = KeyOf(change.element);
                 DeleteServiceOrderActivity(call.run, key.orno, key.acln);
             },
         .changed = [&](const AuditElement& change) { ApplyChange(call, filterFlag, change); },
         .beforeLoop = [&] { filterFlag = call.run.process.controlTables.GetFilterFlag(call.tableName); }});
}

void UpsertServiceOrderActivity(const TableCall& call, Object& activity) {
    Upsert(call, kActivities, activity);
}

void DeleteServiceOrderActivity(CopyRun& run, const std::string& orno, Long acln) {
    // A blank stands in a minus sign's place.
    static constexpr platform::LiteralFrame kBlank{" ", ""};
    const Long deleted = run.Database().Execute(kDelete(
        run.Literals().QuoteSqlString(orno), Literal::Whole(acln, acln < 0 ? platform::kBare : kBlank)));
    if (deleted > 0) WriteServiceOrderActivityAudit(run, orno, acln, "D");
    control::Add(run.counters.deleted, 1);
}

void WriteServiceOrderActivityAudit(CopyRun& run, const std::string& orno, Long acln, std::string_view action) {
    const runtime::SqlLiterals& literals = run.Literals();
    const Literal order = literals.QuoteSqlString(orno), line = Literal::Whole(acln);
    run.Database().Send(kDeleteAudit(order, line));
    run.Database().Send(kInsertAudit(order, line, ChangeLogTime(literals), literals.QuoteSqlString(action)));
}

}  // namespace iqrx::tables
