#include "platform/conversions.h"
#include "tables/definitions.h"
#include "tables/orders/change_logged_copy.h"
#include "tables/orders/orders.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kAssignments = Checked({
    .name = "tssoc206",
    .titleLabel = "STIT0019",
    .columns = {{"orno", "getServiceOrder", kText},
                {"asln", "getAssignmentLine", kWhole16},
                {"acln", "getActivity", kWhole16},
                {"emno", "getServiceEngineer", kText},
                {"dltm", "getDeliveryTime", kUtcDate},
                {"actm", "getAcceptanceTime", kUtcDate},
                {"rjtm", "getRejectionTime", kUtcDate},
                {"pstm", "getPlannedStartTime", kUtcDate},
                {"pftm", "getPlannedFinishTime", kUtcDate},
                {"astm", "getActualStartTime", kUtcDate},
                {"aftm", "getActualFinishTime", kUtcDate},
                {"jctm", "getJobCompletionTime", kUtcDate},
                {"ltct", "getLatestContactTime", kUtcDate}},
    .fullRanges = {UpTo(9)},
    .auditKeys = {{"orno", UpTo(9)}, {"asln", Between("0000", "9999")}},
    .outputFields = {"acln", "emno", "dltm", "actm", "rjtm", "pstm", "pftm", "astm", "aftm", "jctm", "ltct"},
    .update =
        "UPDATE {table} SET acln  = {acln},emno  = {emno},dltm  = {dltm},actm  = {actm},rjtm  = {rjtm},pstm  = {pstm},pftm  = {pftm},astm  = {astm},aftm  = {aftm},jctm  = {jctm},ltct  = {ltct},upd_flag =0  WHERE orno= {orno} AND   asln= {asln}",
    .insert =
        "INSERT INTO {table}(orno,asln,acln,emno,dltm,actm,rjtm,pstm,pftm,astm,aftm,jctm,ltct,upd_flag) VALUES( {orno},{asln},{acln},{emno},{dltm},{actm},{rjtm},{pstm},{pftm},{astm},{aftm},{jctm},{ltct},0)",
    .fullFailure = "SLBL0512",
    .countsEveryInsert = true,
});

namespace {

std::string OrderNumber(Object& assignment) { return platform::ToText(assignment.Get("getServiceOrder")); }
Integer Line(Object& assignment) { return platform::ToInteger(assignment.Get("getAssignmentLine")); }
Integer ActivityLine(Object& assignment) { return platform::ToInteger(assignment.Get("getActivity")); }

constexpr runtime::Sql<2> kLocalAssignment = "SELECT * FROM tssoc206 WHERE orno= {orno} AND   asln= {asln}";
constexpr runtime::Sql<2> kDeleteAudit = "DELETE FROM tssoc206_audit WHERE orno= {orno} AND   asln= {asln}";
constexpr runtime::Sql<5> kInsertAudit =
    "INSERT INTO tssoc206_audit(orno,acln,asln,time,action) VALUES( {orno},{acln},{asln},{time},{action})";

}  // namespace

void CopyAssignments(const TableCall& call) {
    ChooseCopy(call, CopyAssignmentsFull, CopyAssignmentsIncremental);
}

void CopyAssignmentsFull(const TableCall& call) {
    FullCopy(call, kAssignments, [&](HeldObjects& held) {
        held.enumerator = FetchByKeyRange(kAssignments, *held.manager);
        const Literal startTime = call.run.Literals().CurrentTimeLiteral();
        if (!held.enumerator) return;
        Mark(call);
        call.run.process.controlTables.MarkFullSyncStart(call.tableName);
        ForEachRecord(held, [&](Object& assignment) { UpsertAssignment(call, assignment); });
        FinishFullCopy(call, startTime);
    });
}

void CopyAssignmentsIncremental(const TableCall& call) {
    CopyRun& run = call.run;
    IncrementalCopy(call, kAssignments,
                    {.deleted =
                         [&](const AuditElement& change) {
                             DeleteAssignment(run, OrderNumber(change.element), Line(change.element));
                         },
                     .changed =
                         [&](const AuditElement& change) {
                             UpsertAssignment(call, change.element);
                             WriteAssignmentAudit(run, OrderNumber(change.element), Line(change.element),
                                                  ActivityLine(change.element), change.isUpdated ? "U" : "I");
                         }});
}

void UpsertAssignment(const TableCall& call, Object& assignment) { Upsert(call, kAssignments, assignment); }

// Reads the row before it goes: the change-log wants the activity line, which nothing else knows any more.
void DeleteAssignment(CopyRun& run, const std::string& orno, Integer asln) {
    const auto local = run.Database().OpenRecordset(
        kLocalAssignment(run.Literals().QuoteSqlString(orno), Literal::Whole(asln)),
        platform::CursorType::Keyset, platform::LockType::Optimistic);
    if (local->RecordCount() > 0) {
        const Integer acln = platform::ToInteger(local->Field("acln"));
        local->Delete();
        WriteAssignmentAudit(run, orno, asln, acln, "D");
    }
    local->Close();
    control::Add(run.counters.deleted, 1);
}

void WriteAssignmentAudit(CopyRun& run, const std::string& orno, Integer asln, Integer acln,
                          std::string_view action) {
    const runtime::SqlLiterals& literals = run.Literals();
    const Literal order = literals.QuoteSqlString(orno), line = Literal::Whole(asln);
    run.Database().Send(kDeleteAudit(order, line));
    run.Database().Send(kInsertAudit(order, Literal::Whole(acln), line, ChangeLogTime(literals),
                                     literals.QuoteSqlString(action)));
}

}  // namespace iqrx::tables
