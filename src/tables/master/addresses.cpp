#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

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

void CopyAddresses(const TableCall& call) { ChooseCopy(call, CopyAddressesFull, CopyAddressesIncremental); }
void CopyAddressesFull(const TableCall& call) { FullCopy(call, kAddresses, UpsertAddress); }
void CopyAddressesIncremental(const TableCall& call) { IncrementalCopy(call, kAddresses, UpsertAddress); }
void UpsertAddress(const TableCall& call, Object& record) { Upsert(call, kAddresses, record); }

}  // namespace iqrx::tables
