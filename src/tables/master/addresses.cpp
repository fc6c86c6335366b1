#include "engine/copy_pattern.h"
#include "tables/master/master_data.h"

namespace iqrx::tables {

namespace {

using namespace engine;

constexpr Table kAddresses = Checked({
    .name = "tccom130",
    .titleLabel = "STIT0024",
    .columns = {{"cadr", "getAddressCode", kText},
                {"nama", "getName", kText},
                {"namc", "getAddress", kText},
                {"hono", "getHouseNumber", kText},
                {"name", "getCity", kText},
                {"pstc", "getZIPCodePostalCode", kText}},
    .fullRanges = {UpTo(9)},
    .auditKeys = {{"cadr", UpTo(9)}},
    .outputFields = {"cadr", "nama", "namc", "hono", "name", "pstc"},
    .update = "UPDATE  {table} SET  nama ={nama},namc ={namc},hono ={hono},name ={name},pstc ={pstc},"
              "upd_flag = 0 WHERE cadr ={cadr}",
    .insert = "INSERT INTO {table}(cadr,nama,namc,hono,name,pstc,upd_flag) "
              "VALUES({cadr},{nama},{namc},{hono},{name},{pstc},0)",
    .remove = "DELETE FROM {table} WHERE cadr={cadr}",
});

}  // namespace

void CopyAddresses(CopyRun& run, const std::string& tableName, const std::string& runParameter,
                   Integer syncMethod) {
    ChooseCopy(run, tableName, runParameter, syncMethod, CopyAddressesFull, CopyAddressesIncremental);
}

void CopyAddressesFull(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    FullCopy({run, kAddresses, tableName, runParameter}, UpsertAddress);
}

void CopyAddressesIncremental(CopyRun& run, const std::string& tableName, const std::string& runParameter) {
    IncrementalCopy({run, kAddresses, tableName, runParameter}, UpsertAddress);
}

void UpsertAddress(CopyRun& run, Object& record, const std::string& tableName) {
    Upsert(run, kAddresses, record, tableName);
}

}  // namespace iqrx::tables
