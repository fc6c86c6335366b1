#include "platform/conversions.h"
#include "tables/definitions.h"
#include "tables/orders/change_logged_copy.h"
#include "tables/orders/orders.h"

namespace iqrx::tables {

using namespace engine;

constexpr TableDef kDefinition{
    .name = "tssoc200",
    .titleLabel = "STIT0017",
    .columns = {{"orno", "getServiceOrder", kText},
                {"ccfg", "getConfiguration", kText},
                {"ofbp", "getSoldToBusinessPartner", kText},
                {"stna", "getSoldToBusinessPartnerName", kText},
                {"lcad", "getLocationAddress", kText},
                {"cprj", "getProject", kText},
                {"ordt", "getOrderDate", kUtcDate},
                {"osta", "getOrderStatus", kRaw},
                {"cwoc", "getServiceCenter", kText},
                {"csar", "getServiceArea", kText},
                {"emno", "getServiceEngineer", kText},
                {"blyn", "getBlocked", kByte},
                {"ityn", "getInterrupted", kByte},
                {"crit", "getInterruptionReason", kText},
                {"ordu", "getOrderDuration", kReal},
                {"tvdu", "getTravelDuration", kReal},
                {"pstm", "getPlannedStartTime", kUtcDate},
                {"pftm", "getPlannedFinishTime", kUtcDate},
                {"estm", "getPlannedEarliestStartTime", kUtcDate},
                {"lftm", "getPlannedLatestFinishTime", kUtcDate},
                {"otim", "getOvertime", kByte},
                {"appo", "getAppointment", kByte},
                {"rsrp", "getRescheduleWithDetailSRP", kByte},
                {"tstm", "getActualTravelStartTime", kUtcDate},
                {"astm", "getExecutionStartTime", kUtcDate},
                {"aftm", "getExecutionFinishTime", kUtcDate},
                {"csco", "getServiceContract", kText},
                {"csqu", "getServiceOrderQuotation", kText},
                {"stbp", "getShipToBusinessPartner", kText},
                {"emer", "getEmergencyOrder", kByte},
                {"minu", "getPageFrequency", kRaw},
                {"ract", "getDispatchTime", kUtcDate}},
    .auditKeys = {{"orno", UpTo(9)}},
    .outputFields = {"ofbp", "ccfg", "cprj", "ordt", "osta", "cwoc", "csar", "emno", "blyn", "emer",
                     "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                     "rsrp", "ract", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "lcad"},
    .statusField = "osta",
    .update =
        "UPDATE {table} SET ccfg={ccfg},ofbp={ofbp},  stna={stna},lcad={lcad},cprj={cprj},ordt={ordt},osta={osta},cwoc={cwoc},csar={csar},emno={emno},blyn={blyn},ityn={ityn},crit={crit},ordu={ordu},tvdu={tvdu},pstm={pstm},pftm={pftm},estm={estm},lftm={lftm},otim={otim},appo={appo},rsrp={rsrp},tstm={tstm},astm={astm},aftm={aftm},csco={csco},csqu={csqu},stbp={stbp},emer={emer},minu={minu},ract={ract},upd_flag = 0  WHERE orno={orno}",
    .insert =
        "INSERT INTO {table}(orno, ccfg, ofbp, stna, lcad, cprj,  ordt, osta, cwoc, csar, emno, blyn, ityn, crit, ordu, tvdu, pstm, pftm, estm, lftm, otim, appo, rsrp, tstm, astm, aftm, csco, csqu, stbp, emer, minu, ract,upd_flag) VALUES( {orno},{ccfg},{ofbp},{stna},{lcad},{cprj},{ordt},{osta},{cwoc},{csar},{emno},{blyn},{ityn},{crit},{ordu},{tvdu},{pstm},{pftm},{estm},{lftm},{otim},{appo},{rsrp},{tstm},{astm},{aftm},{csco},{csqu},{stbp},{emer},{minu},{ract},0)",
    .fullFailure = "SLBL0512",
    .countsEveryInsert = true,
};

constexpr Table kServiceOrders = Checked(kDefinition);

namespace {

// The audit trail does not carry the sold-to partner's name.
constexpr TableStatement kUpdateLeavingSoldToName = Cut(
    kDefinition,
    "UPDATE {table} SET ccfg={ccfg},ofbp={ofbp}, lcad={lcad},cprj={cprj},ordt={ordt},osta={osta},cwoc={cwoc},csar={csar},emno={emno},blyn={blyn},ityn={ityn},crit={crit},ordu={ordu},tvdu={tvdu},pstm={pstm},pftm={pftm},estm={estm},lftm={lftm},otim={otim},appo={appo},rsrp={rsrp},tstm={tstm},astm={astm},aftm={aftm},csco={csco},csqu={csqu},stbp={stbp},emer={emer},minu={minu},ract={ract},upd_flag = 0  WHERE orno={orno}");

constexpr runtime::Sql<1> kLocalOrder = "SELECT * FROM {table} WHERE orno= {orno}";
constexpr runtime::Sql<1> kDelete = "DELETE FROM tssoc200  WHERE orno= {orno}";
constexpr runtime::Sql<1> kDeleteAudit = "DELETE FROM tssoc200_audit WHERE orno= {orno}";
constexpr runtime::Sql<3> kInsertAudit =
    "INSERT INTO tssoc200_audit(orno,time,action) VALUES(  {orno},{time},{action})";

std::string OrderNumber(Object& order) { return platform::ToText(order.Get("getServiceOrder")); }

bool SoldToChanged(platform::Recordset& local, Object& order) {
    const platform::Value known = local.Field("ofbp");
    return known.Is<platform::Null>() ||
           platform::ToText(known) != platform::ToText(order.Get("getSoldToBusinessPartner"));
}

// The order as the ERP holds it now; Nothing when it is gone.
ObjectRef FetchOrder(Object& manager, const std::string& orno) {
    const ObjectRef orders = platform::ObjectOrNothing(platform::Call(manager, "GetByKeyRange", orno, orno));
    if (!orders || !platform::ToBoolean(orders->Get("hasMoreElements"))) return {};
    return platform::ToObject(orders->Get("nextElement"));
}

void ApplyChange(const TableCall& call, Integer filterFlag, const AuditElement& change) {
    CopyRun& run = call.run;
    const std::string orno = OrderNumber(change.element);
    const auto local =
        run.Database().OpenRecordset(kLocalOrder.On(call.tableName, run.Literals().QuoteSqlString(orno)));
    const bool present = !local->Bof();
    if (FilterIsActive(filterFlag) &&
        IsExcluded(filterFlag, platform::ToLong(change.element.Get("getOrderStatus")))) {
        if (present) DeleteServiceOrder(run, orno);
        return;
    }
    ObjectRef fresh;
    if (!present || SoldToChanged(*local, change.element)) fresh = FetchOrder(change.manager, orno);
    if (fresh)
        UpsertServiceOrder(call, *fresh, true);
    else
        UpsertServiceOrder(call, change.element, false);
    local->Close();
    WriteServiceOrderAudit(run, orno, change.isUpdated ? "U" : "I");
}

}  // namespace

void CopyServiceOrders(const TableCall& call) {
    ChooseCopy(call, CopyServiceOrdersFull, CopyServiceOrdersIncremental);
}

void CopyServiceOrdersFull(const TableCall& call) {
    FullCopyByStatus(
        call, kServiceOrders,
        [](const TableCall& copy) {
            Mark(copy);
            copy.run.process.controlTables.MarkFullSyncStart(copy.tableName);
        },
        [](const TableCall& copy, Object& order) { UpsertServiceOrder(copy, order, true); });
}

void CopyServiceOrdersIncremental(const TableCall& call) {
    Integer filterFlag = 0;
    IncrementalCopy(
        call, kServiceOrders,
        {.deleted =
             [&](const AuditElement& change) { DeleteServiceOrder(call.run, OrderNumber(change.element)); },
         .changed = [&](const AuditElement& change) { ApplyChange(call, filterFlag, change); },
         .beforeLoop = [&] { filterFlag = call.run.process.controlTables.GetFilterFlag(call.tableName); }});
}

void UpsertServiceOrder(const TableCall& call, Object& order, bool withSoldToName) {
    Upsert(call, kServiceOrders, withSoldToName ? kServiceOrders.update : kUpdateLeavingSoldToName, order);
}

void DeleteServiceOrder(CopyRun& run, const std::string& orno) {
    const Long deleted = run.Database().Execute(kDelete(run.Literals().QuoteSqlString(orno)));
    if (deleted > 0) WriteServiceOrderAudit(run, orno, "D");
    control::Add(run.counters.deleted, 1);
}

void WriteServiceOrderAudit(CopyRun& run, const std::string& orno, std::string_view action) {
    const runtime::SqlLiterals& literals = run.Literals();
    const Literal order = literals.QuoteSqlString(orno);
    run.Database().Send(kDeleteAudit(order));
    run.Database().Send(kInsertAudit(order, ChangeLogTime(literals), literals.QuoteSqlString(action)));
}

}  // namespace iqrx::tables
