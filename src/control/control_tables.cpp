#include "control/control_tables.h"

#include <optional>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::control {

namespace {

using platform::Literal;
using runtime::Sql;
using runtime::UnescapedName;

constexpr Sql<1> kControlRow = "SELECT * FROM tstables WHERE tablename = {table name}";
// No blank before WHERE: the servers read the number's end as the word's begin.
constexpr Sql<2> kSetInUse = "UPDATE tstables SET in_use = {flag}WHERE tablename = {table name}";
constexpr Sql<3> kInsertInUse =
    "INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES({table name},{now},{flag},1)";
constexpr Sql<2> kSetLastUpdate = "UPDATE tstables SET lutm  = {moment} WHERE tablename = {table name}";
constexpr Sql<2> kInsertLastUpdate =
    "INSERT INTO tstables(tablename,lutm, reqd, in_use) VALUES({table name},{moment}, 0, 0)";
constexpr Sql<2> kStartFullSync =
    "UPDATE tsfullsyncs SET starttime={time}, finishtime = NULL WHERE tablename = {table name}";
constexpr Sql<2> kInsertFullSync =
    "INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES({table name},{time},NULL)";
constexpr Sql<2> kFinishFullSync = "UPDATE tsfullsyncs SET finishtime ={time} WHERE tablename = {table name}";
constexpr Sql<0> kPurgeAudit = "DELETE FROM {table}_audit";
constexpr Sql<0> kParameters = "SELECT * FROM tsparameters";
constexpr Sql<0> kFilter = "SELECT tvkparam FROM tsparameters";

auto PlaceOf(const char* field, const std::string& table) {
    return [field, &table] { return std::string(field) + " of " + table + " in tstables"; };
}

}  // namespace

platform::TableNames CoordinatingTables() {
    return {"tstables", "tstreenodes", "tsi18ntext", "tsfullsyncs", "tsparameters"};
}

// Empty when the table has no row.
platform::Value ControlTables::ControlField(const std::string& table, std::string_view field) {
    auto rows = database_.OpenRecordset(kControlRow(UnescapedName(table)));
    return rows->Eof() ? platform::Value() : rows->Field(field);
}

bool ControlTables::TakeTable(const std::string& table, const std::function<void()>& before) {
    bool taken = false;
    database_.RunExclusively([&] {
        taken = !IsTableInUse(table);
        if (!taken) return;
        before();
        LockTable(table);
    });
    return taken;
}

bool ControlTables::IsTableInUse(const std::string& table) {
    const platform::Value inUse = ControlField(table, "in_use");
    if (inUse.Is<platform::Null>()) return false;
    return platform::NamingPlace([&] { return platform::ToLong(inUse) == 1; }, PlaceOf("in_use", table));
}

void ControlTables::LockTable(const std::string& table) { SetInUse(table, true); }

void ControlTables::UnlockTable(const std::string& table) {
    SetInUse(table, false);
    database_.AwaitAnswers();
}

// The lock's moment is asked for when a row is added: of a table that has one it is no concern.
void ControlTables::SetInUse(const std::string& table, bool inUse) {
    const Literal flag = Literal::Whole(inUse ? 1 : 0);
    std::string now;
    std::optional<runtime::FilledSql<3>> insert;
    database_.Upsert(kSetInUse(flag, UnescapedName(table)), [&]() -> platform::Statement {
        now = platform::IsoDateTime(clock_.Now());
        return insert.emplace(kInsertInUse(database_.Literals().QuoteSqlString(table),
                                           Literal::Text(now, database_.Speaks().lockTime), flag));
    });
}

platform::Date ControlTables::GetTableLastUpdate(const std::string& table) {
    constexpr platform::Date kNever{0};
    const platform::Value lastUpdate = ControlField(table, "lutm");
    if (lastUpdate.Is<platform::Null>() || lastUpdate.Is<platform::Empty>()) return kNever;
    return platform::NamingPlace([&] { return platform::ToDate(lastUpdate); }, PlaceOf("lutm", table));
}

void ControlTables::SetTableLastUpdate(const std::string& table, const Literal& date) {
    const Literal name = UnescapedName(table);
    const auto insert = kInsertLastUpdate(name, date);
    database_.Upsert(kSetLastUpdate(date, name), [&] { return platform::Statement(insert); });
}

platform::Integer ControlTables::GetFilterFlag(const std::string& table) {
    const platform::Value flag = ControlField(table, "FilterFlag");
    return platform::NamingPlace([&] { return platform::ToInteger(flag); }, PlaceOf("FilterFlag", table));
}

Literal ControlTables::FullSyncLiteral() const {
    return database_.Literals().WrapDateLiteral(runtime::GetSyncTimeText());
}

void ControlTables::MarkFullSyncStart(const std::string& table) {
    const Literal name = UnescapedName(table), time = FullSyncLiteral();
    const auto insert = kInsertFullSync(name, time);
    database_.Upsert(kStartFullSync(time, name), [&] { return platform::Statement(insert); });
}

void ControlTables::MarkFullSyncFinish(const std::string& table) {
    database_.Send(kFinishFullSync(FullSyncLiteral(), UnescapedName(table)));
}

void ControlTables::PurgeAuditTable(const std::string& table) { database_.Send(kPurgeAudit.On(table)); }

platform::Integer ControlTables::GetQrxCalendar() {
    auto rows = database_.OpenRecordset(kParameters());
    const platform::Value days = rows->Field("Qrxcal");
    return platform::NamingPlace([&] { return platform::ToInteger(days); },
                                 [] { return "Qrxcal in tsparameters"; });
}

platform::Value ControlTables::GetTVKFilter() {
    constexpr std::int32_t kNoFilterRow = 1005;
    auto rows = database_.OpenRecordset(kFilter());
    if (rows->Bof() && rows->Eof())
        throw platform::RuntimeError(kNoFilterRow, "GetTVKFilter", "Could not get the Filter Flag");
    platform::Value filter = rows->Field("tvkparam");
    return filter.Is<platform::Null>() ? platform::Value() : filter;
}

}  // namespace iqrx::control
