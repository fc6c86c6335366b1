#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/orders/orders.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kOrderLines = Checked({
    .name = "tssoc205",
    .titleLabel = "STIT0018",
    .columns = {{"orno", "getServiceOrder", kText},
                {"line", "getLineNumber", kRaw},
                {"emno", "getServiceEngineer", kText},
                {"acln", "getActivity", kQuotedWhole}},
    .fullRanges = {UpTo(9)},
    .auditKeys = {{"orno", UpTo(9)}, {"line", Between("0000", "9999")}},
    .outputFields = {"emno", "acln"},
    .update = "UPDATE {table} SET emno = {emno},acln = {acln},upd_flag = 0  WHERE orno= {orno} AND line= {line}",
    .insert = "INSERT INTO {table}(orno,line,emno,acln,upd_flag) VALUES( {orno},{line},{emno},{acln},0)",
    .remove = "DELETE FROM {table} WHERE orno= {orno} AND   line= {line}",
    .fullFailure = "SLBL0512",
    .countsEveryInsert = true,
});

void CopyServiceOrderLines(const TableCall& call) {
    ChooseCopy(call, CopyServiceOrderLinesFull, CopyServiceOrderLinesIncremental);
}

void CopyServiceOrderLinesFull(const TableCall& call) { FullCopy(call, kOrderLines, UpsertServiceOrderLine); }

void CopyServiceOrderLinesIncremental(const TableCall& call) {
    IncrementalCopy(call, kOrderLines, UpsertServiceOrderLine);
}

void UpsertServiceOrderLine(const TableCall& call, Object& line) { Upsert(call, kOrderLines, line); }

}  // namespace iqrx::tables
