#include "control/table_catalog.h"

#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/text.h"
#include "runtime/sql_literals.h"

namespace iqrx::control {

namespace {

constexpr runtime::Sql<2> kCatalog =
    "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c"
    " where a.productid = {product} AND b.groupid = {group} AND a.tableid = b.tableid AND b.label = c.label";

std::string TextOf(const platform::Value& value) {
    return value.Is<platform::Null>() ? std::string() : platform::ToText(value);
}

}  // namespace

void TableCatalog::LoadTableCatalog(platform::DatabaseProvider& provider, const std::string& connectionString,
                                    const std::string& database, platform::Integer databasePlatform,
                                    const std::string& treeGroup) {
    auto connection = provider.CreateConnection(connectionString);
    connection->Open(connectionString);
    runtime::DialectOf(databasePlatform).beginSession(*connection, database);
    auto rows = connection->CreateRecordset();
    rows->Open(kCatalog(runtime::UnescapedName(kProductIdentifier),
                        runtime::UnescapedName(platform::Trim(treeGroup, " "))),
               platform::CursorType::ForwardOnly, platform::LockType::ReadOnly);
    if (rows->Eof())
        throw platform::RuntimeError(kCatalogEmpty, "iQrx Data Copy - Start",
                                     "tstables or tstreenodes table is empty .. Cannot Proceed");
    entries_ = {};
    for (; !rows->Eof(); rows->MoveNext()) {
        const auto id = platform::ToInteger(rows->Field("TableID"));
        if (!HasRoomFor(id))
            platform::RaiseRuntimeError(platform::kSubscriptOutOfRange,
                                        "tableid " + std::to_string(id) + " in tstables");
        entries_[static_cast<std::size_t>(id)] = {
            std::string(platform::Trim(TextOf(rows->Field("ERPTableID")), " ")),
            std::string(platform::Trim(TextOf(rows->Field("TableName")), " ")), TextOf(rows->Field("Text"))};
    }
    rows.reset();
    connection->Close();
}

const TableCatalog::Entry& TableCatalog::At(int id) const {
    if (!HasRoomFor(id))
        platform::RaiseRuntimeError(platform::kSubscriptOutOfRange, "table id " + std::to_string(id));
    return entries_[static_cast<std::size_t>(id)];
}

}  // namespace iqrx::control
