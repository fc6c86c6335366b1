#include "control/control_tables.h"

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::control {

namespace {

std::string Quoted(const std::string& table) { return "N'" + table + "'"; }

auto PlaceOf(const char* field, const std::string& table) {
    return [field, &table] { return std::string(field) + " of " + table + " in tstables"; };
}

}  // namespace

platform::ControlTables CoordinatingTables() {
    return {"tstables", "tstreenodes", "tsi18ntext", "tsfullsyncs", "tsparameters"};
}

// Empty when the table has no row.
platform::Value ControlTables::ControlField(const std::string& table, std::string_view field) {
    auto rows = database_.OpenRecordset("SELECT * FROM tstables WHERE tablename = " + Quoted(table));
    return rows->Eof() ? platform::Value() : rows->Field(field);
}

bool ControlTables::TakeTable(const std::string& table) {
    bool taken = false;
    database_.RunExclusively([&] {
        taken = !IsTableInUse(table);
        if (taken) LockTable(table);
    });
    return taken;
}

bool ControlTables::IsTableInUse(const std::string& table) {
    const platform::Value inUse = ControlField(table, "in_use");
    if (inUse.Is<platform::Null>()) return false;
    return platform::NamingPlace([&] { return platform::ToLong(inUse) == 1; }, PlaceOf("in_use", table));
}

void ControlTables::LockTable(const std::string& table) { SetInUse(table, '1'); }

void ControlTables::UnlockTable(const std::string& table) { SetInUse(table, '0'); }

void ControlTables::SetInUse(const std::string& table, char inUse) {
    const auto affected = database_.Execute(std::string("UPDATE tstables SET in_use = ") + inUse +
                                            "WHERE tablename = " + Quoted(table));
    if (affected != 0) return;
    const std::string now = platform::IsoDateTime(clock_.Now());
    const std::string literal =
        database_.Platform() == runtime::kOracle ? database_.Literals().WrapDateLiteral(now) : "'" + now + "'";
    database_.Execute("INSERT INTO tstables(tablename,lutm,in_use, reqd) VALUES(" +
                      database_.Literals().QuoteSqlString(table) + "," + literal + "," + inUse + ",1)");
}

platform::Date ControlTables::GetTableLastUpdate(const std::string& table) {
    constexpr platform::Date kNever{0};
    const platform::Value lastUpdate = ControlField(table, "lutm");
    if (lastUpdate.Is<platform::Null>() || lastUpdate.Is<platform::Empty>()) return kNever;
    return platform::NamingPlace([&] { return platform::ToDate(lastUpdate); }, PlaceOf("lutm", table));
}

void ControlTables::SetTableLastUpdate(const std::string& table, const std::string& dateLiteral) {
    const std::string name = Quoted(table);
    const auto affected =
        database_.Execute("UPDATE tstables SET lutm  = " + dateLiteral + " WHERE tablename = " + name);
    if (affected != 0) return;
    database_.Execute("INSERT INTO tstables(tablename,lutm, reqd, in_use) VALUES(" + name + "," +
                      dateLiteral + ", 0, 0)");
}

platform::Integer ControlTables::GetFilterFlag(const std::string& table) {
    const platform::Value flag = ControlField(table, "FilterFlag");
    return platform::NamingPlace([&] { return platform::ToInteger(flag); }, PlaceOf("FilterFlag", table));
}

std::string ControlTables::FullSyncLiteral() const {
    return database_.Literals().WrapDateLiteral(runtime::GetSyncTimeText());
}

void ControlTables::MarkFullSyncStart(const std::string& table) {
    const std::string literal = FullSyncLiteral();
    const auto affected = database_.Execute("UPDATE tsfullsyncs SET starttime=" + literal +
                                            ", finishtime = NULL WHERE tablename = " + Quoted(table));
    if (affected != 0) return;
    database_.Execute("INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES(" + Quoted(table) +
                      "," + literal + ",NULL)");
}

void ControlTables::MarkFullSyncFinish(const std::string& table) {
    database_.Execute("UPDATE tsfullsyncs SET finishtime =" + FullSyncLiteral() +
                      " WHERE tablename = " + Quoted(table));
}

void ControlTables::PurgeAuditTable(const std::string& table) {
    database_.Execute("DELETE FROM " + table + "_audit");
}

platform::Integer ControlTables::GetQrxCalendar() {
    auto rows = database_.OpenRecordset("SELECT * FROM tsparameters");
    const platform::Value days = rows->Field("Qrxcal");
    return platform::NamingPlace([&] { return platform::ToInteger(days); },
                                 [] { return "Qrxcal in tsparameters"; });
}

platform::Value ControlTables::GetTVKFilter() {
    constexpr std::int32_t kNoFilterRow = 1005;
    auto rows = database_.OpenRecordset("SELECT tvkparam FROM tsparameters");
    if (rows->Bof() && rows->Eof())
        throw platform::RuntimeError(kNoFilterRow, "GetTVKFilter", "Could not get the Filter Flag");
    platform::Value filter = rows->Field("tvkparam");
    return filter.Is<platform::Null>() ? platform::Value() : filter;
}

}  // namespace iqrx::control
