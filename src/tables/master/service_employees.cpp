#include "engine/copy_pattern.h"
#include "tables/definitions.h"
#include "tables/routines.h"

namespace iqrx::tables {

using namespace engine;

constexpr Table kServiceEmployees = Checked({
    .name = "tsmdm140",
    .titleLabel = "STIT0014",
    .columns = {{"emno", "getServiceEmployee", kText},
                {"dsca", "getServiceEmployeeName", kText},
                {"cwoc", "getServiceCenter", kText},
                {"ccal", "getCalendarCode", kText},
                {"cadr", "getAddressCode", kText},
                {"frmn", "getForeman", kText},
                {"csar", "getServiceArea", kText},
                {"ccar", "getServiceCar", kText},
                {"ouser", "getLoginCode", kText, "user"},
                {"mpod", "getMaximumOvertimePerDay", kReal, "mopd"}},
    // A full copy asks for three ranges, the audit trail for the employee's only.
    .fullRanges = {UpTo(6), UpTo(3), UpTo(6)},
    .auditKeys = {{"emno", UpTo(6)}},
    .outputFields = {"emno", "frmn", "csar", "ccar", "user", "mopd"},
    .update = "UPDATE {table} SET dsca = {dsca}, cwoc = {cwoc}, ccal = {ccal}, cadr = {cadr}, frmn  ={frmn}, "
              "csar  ={csar}, ccar  ={ccar}, ouser ={ouser}, mpod  ={mpod}, upd_flag = 0 WHERE emno = {emno}",
    .insert = "INSERT INTO {table} (emno, dsca, cwoc, ccal, cadr, frmn, csar, ccar, ouser, mpod, upd_flag) "
              "VALUES ({emno},{dsca},{cwoc},{ccal},{cadr},{frmn},{csar},{ccar},{ouser},{mpod},0)",
    .remove = "DELETE FROM {table} WHERE emno= {emno}",
});

void CopyServiceEmployees(const TableCall& call) {
    ChooseCopy(call, CopyServiceEmployeesFull, CopyServiceEmployeesIncremental);
}

void CopyServiceEmployeesFull(const TableCall& call) {
    FullCopy(call, kServiceEmployees, UpsertServiceEmployee);
}

void CopyServiceEmployeesIncremental(const TableCall& call) {
    IncrementalCopy(call, kServiceEmployees, UpsertServiceEmployee);
}

void UpsertServiceEmployee(const TableCall& call, Object& record) { Upsert(call, kServiceEmployees, record); }

}  // namespace iqrx::tables
