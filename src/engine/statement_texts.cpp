#include "engine/statement_texts.h"

namespace iqrx::engine {

StatementTexts::StatementTexts(const Table& table, platform::Object& record, const std::string& tableName,
                               const runtime::SqlLiterals& literals, AskDates askDates)
    : table_(table), record_(record), tableName_(tableName), literals_(literals) {
    if (askDates == AskDates::InTheirPlace) return;
    for (std::size_t i = 0; i < table.def.columns.size(); ++i) {
        const Column& column = table.def.columns[i];
        if (column.conversion.kind == erp::FieldKind::Date)
            column.conversion.append(dates_[i], record.Get(column.getter), literals);
    }
}

std::string StatementTexts::Text(const Statement& statement) const {
    constexpr std::size_t kUsualLength = 256;
    std::string sql;
    sql.reserve(kUsualLength);
    for (const Piece& piece : statement) {
        if (piece.column == Piece::kText) {
            sql += piece.text;
        } else if (piece.column == Piece::kTableName) {
            sql += tableName_;
        } else {
            const auto index = static_cast<std::size_t>(piece.column);
            const Column& column = table_.def.columns[index];
            if (!dates_[index].empty())
                sql += dates_[index];
            else
                column.conversion.append(
                    sql, column.conversion.asksErp ? record_.Get(column.getter) : platform::Value(), literals_);
        }
    }
    return sql;
}

}  // namespace iqrx::engine
