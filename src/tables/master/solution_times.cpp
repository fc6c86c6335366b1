#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kSolutionTimes = Checked({
    .name = "tsclm024",
    .titleLabel = "STIT0008",
    // The key is a number of minutes: a delete writes it as the user's locale does, an upsert with a point.
    .columns = {{"sltt", "getSolutionTimeInMinutes", kPeriod},
                {"slttInLocale", "getSolutionTimeInMinutes", kPeriodInLocale, "sltt"},
                {"dsca", "getDescription", kText, "desc"}},
    .fullRanges = {Numbers(0, 100000)},
    .auditKeys = {{"sltt", Between("000.00", "999.99")}},
    .outputFields = {"sltt", "desc"},
    .update = "UPDATE {table} SET dsca = {dsca},upd_flag = 0 WHERE sltt = {sltt}",
    .insert = "INSERT INTO {table}(sltt,dsca,upd_flag) VALUES({sltt},{dsca},0)",
    .remove = "DELETE FROM {table} WHERE sltt={slttInLocale}",
});

void CopySolutionTimes(const TableCall& call) {
    ChooseCopy(call, CopySolutionTimesFull, CopySolutionTimesIncremental);
}

void CopySolutionTimesFull(const TableCall& call) { FullCopy(call, kSolutionTimes, UpsertSolutionTime); }

void CopySolutionTimesIncremental(const TableCall& call) {
    IncrementalCopy(call, kSolutionTimes, UpsertSolutionTime);
}

void UpsertSolutionTime(const TableCall& call, Object& record) { Upsert(call, kSolutionTimes, record); }

}  // namespace iqrx::tables
