#include "engine/statement_texts.h"

#include "platform/conversions.h"
#include "platform/printable.h"

namespace iqrx::engine {

StatementTexts::StatementTexts(const Table& table, platform::Object& record, const std::string& tableName,
                               const runtime::SqlLiterals& literals, AskDates askDates)
    : table_(table), record_(record), tableName_(tableName), literals_(literals) {
    if (askDates == AskDates::InTheirPlace || !table.hasDates) return;
    dates_.resize(table.def.columns.size());
    for (std::size_t i = 0; i < table.def.columns.size(); ++i) {
        const Column& column = table.def.columns[i];
        if (column.conversion.kind == erp::FieldKind::Date)
            platform::NamingPlace(
                [&] { column.conversion.append(dates_[i], record.Get(column.getter), literals); },
                [&] { return PlaceOf(column); });
    }
}

const std::string& StatementTexts::Text(const Statement& statement) {
    constexpr std::size_t kUsualLength = 256;
    sql_.clear();
    sql_.reserve(kUsualLength);
    for (const Piece& piece : statement) {
        if (piece.column == Piece::kText)
            sql_ += piece.text;
        else if (piece.column == Piece::kTableName)
            sql_ += tableName_;
        else
            platform::NamingPlace(
                [&] { AppendColumn(static_cast<std::size_t>(piece.column)); },
                [&] { return PlaceOf(table_.def.columns[static_cast<std::size_t>(piece.column)]); });
    }
    return sql_;
}

// The getter, the table and the record's key, which an operator can look up in the ERP.
std::string StatementTexts::PlaceOf(const Column& failed) const {
    std::string place = std::string(failed.getter) + " of " + tableName_;
    for (const AuditKey& key : table_.def.auditKeys)
        for (const Column& column : table_.def.columns)
            if (column.name == key.field) place += ", " + std::string(column.name) + " " + Shown(column);
    return place;
}

std::string StatementTexts::Shown(const Column& key) const {
    constexpr std::size_t kLongest = 100;
    try {
        const platform::Value value = record_.Get(key.getter);
        if (value.Is<platform::Null>()) return "Null";
        return "'" + platform::Printable(platform::ToText(value), kLongest) + "'";
    } catch (const platform::RuntimeError&) {
        return "unknown";
    }
}

void StatementTexts::AppendColumn(std::size_t index) {
    const Column& column = table_.def.columns[index];
    if (!dates_.empty() && !dates_[index].empty())
        sql_ += dates_[index];
    else if (!column.conversion.asksErp)
        column.conversion.append(sql_, platform::Value(), literals_);
    else if (const platform::Value* kept = record_.Peek(column.getter))
        column.conversion.append(sql_, *kept, literals_);
    else
        column.conversion.append(sql_, record_.Get(column.getter), literals_);
}

}  // namespace iqrx::engine
