#include "engine/copy_pattern.h"
#include "tables/master/master_data.h"

namespace iqrx::tables {

namespace {

using namespace engine;

constexpr Table kSolutionTimes = Checked({
    .name = "tsclm024",
    .titleLabel = "STIT0008",
    // The key is a number of minutes: a delete writes it as the user's locale does, an upsert with a point.
    .columns = {{"sltt", "getSolutionTimeInMinutes", kPeriod},
                {"slttInOwnForm", "getSolutionTimeInMinutes", kPeriodInOwnForm, "sltt"},
                {"dsca", "getDescription", kText, "desc"}},
    .fullRanges = {Numbers(0, 100000)},
    .auditKeys = {{"sltt", Between("000.00", "999.99")}},
    .outputFields = {"sltt", "desc"},
    .update = "UPDATE {table} SET dsca = {dsca},upd_flag = 0 WHERE sltt = {sltt}",
    .insert = "INSERT INTO {table}(sltt,dsca,upd_flag) VALUES({sltt},{dsca},0)",
    .remove = "DELETE FROM {table} WHERE sltt={slttInOwnForm}",
});

}  // namespace

void CopySolutionTimes(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                       Integer syncMethod) {
    ChooseCopy(run, tableName, runParameter, syncMethod, CopySolutionTimesFull, CopySolutionTimesIncremental);
}

void CopySolutionTimesFull(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    FullCopy({run, kSolutionTimes, tableName, runParameter}, UpsertSolutionTime);
}

void CopySolutionTimesIncremental(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    IncrementalCopy({run, kSolutionTimes, tableName, runParameter}, UpsertSolutionTime);
}

void UpsertSolutionTime(CopyRun& run, Object& record, const std::string& tableName) {
    Upsert(run, kSolutionTimes, record, tableName);
}

}  // namespace iqrx::tables
