#include "engine/copy_pattern.h"
#include "tables/master/master_data.h"

namespace iqrx::tables {

namespace {

using namespace engine;

constexpr Table kServiceTypes = Checked({
    .name = "tsmdm030",
    .titleLabel = "STIT0010",
    .columns = {{"cstp", "getServiceType", kText},
                {"dsca", "getServiceTypeDescription", kText, "desc"},
                {"prod", "getServiceProcedure", kText, "proc"},
                {"ract", "getAvailabilityType", kText},
                {"dahe", "getGenDefaultAssignment", kYesNo}},
    .fullRanges = {UpTo(3)},
    .auditKeys = {{"cstp", UpTo(3)}},
    .outputFields = {"desc", "proc", "ract", "dahe"},
    .update =
        "UPDATE {table} SET dsca = {dsca}, prod = {prod}, ract = {ract}, dahe = {dahe}, upd_flag = 0 WHERE cstp = {cstp}",
    .insert =
        "INSERT INTO {table} (cstp,dsca,prod,ract,dahe,upd_flag) VALUES ({cstp},{dsca},{prod},{ract},{dahe},0)",
    .remove = "DELETE FROM {table} WHERE cstp= {cstp}",
});

}  // namespace

void CopyServiceTypes(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                      Integer syncMethod) {
    ChooseCopy(run, tableName, runParameter, syncMethod, CopyServiceTypesFull, CopyServiceTypesIncremental);
}

void CopyServiceTypesFull(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    FullCopy({run, kServiceTypes, tableName, runParameter}, UpsertServiceType);
}

void CopyServiceTypesIncremental(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    IncrementalCopy({run, kServiceTypes, tableName, runParameter}, UpsertServiceType);
}

void UpsertServiceType(CopyRun& run, Object& record, const std::string& tableName) {
    Upsert(run, kServiceTypes, record, tableName);
}

}  // namespace iqrx::tables
