#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kResponseTimes = Checked({
    .name = "tsclm020",
    .titleLabel = "STIT0007",
    .columns = {{"crtc", "getResponseTime", kText},
                {"dsca", "getResponseTimeDescription", kText, "desc"},
                {"ccal", "getCalendar", kText},
                {"rctt", "getReactionPeriod", kPeriod},
                {"enst", "getSolutionStartPeriod", kPeriod},
                {"sltn", "getSolutionFinishPeriod", kPeriod}},
    .fullRanges = {UpTo(3)},
    .auditKeys = {{"crtc", UpTo(3)}},
    .outputFields = {"crtc", "desc", "ccal", "rctt", "enst", "sltn"},
    .update = "UPDATE {table} SET dsca = {dsca},ccal = {ccal},rctt = {rctt},enst = {enst},sltn = {sltn},"
              "upd_flag = 0 WHERE crtc= {crtc}",
    .insert = "INSERT INTO {table}(crtc,dsca,ccal,rctt,enst,sltn,upd_flag) "
              "VALUES( {crtc},{dsca},{ccal},{rctt},{enst},{sltn},0)",
    .remove = "DELETE FROM {table} WHERE crtc= {crtc}",
});

void CopyResponseTimes(const TableCall& call) {
    ChooseCopy(call, CopyResponseTimesFull, CopyResponseTimesIncremental);
}

void CopyResponseTimesFull(const TableCall& call) { FullCopy(call, kResponseTimes, UpsertResponseTime); }

void CopyResponseTimesIncremental(const TableCall& call) {
    IncrementalCopy(call, kResponseTimes, UpsertResponseTime);
}

void UpsertResponseTime(const TableCall& call, Object& record) { Upsert(call, kResponseTimes, record); }

}  // namespace iqrx::tables
