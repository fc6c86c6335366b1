#include "engine/record_statements.h"

#include "platform/conversions.h"
#include "platform/printable.h"

namespace iqrx::engine {

RecordStatements::RecordStatements(const Table& table, platform::Object& record, const std::string& tableName,
                                   const runtime::SqlLiterals& literals, AskDates askDates)
    : table_(table), record_(record), tableName_(tableName), literals_(literals) {
    if (const auto* known = dynamic_cast<const erp::Record*>(&record))
        atHand_ = known->Values(table.Layout());
    byColumn_.resize(table.def.columns.size());
    if (askDates == AskDates::InTheirPlace || !table.hasDates) return;
    for (std::size_t i = 0; i < byColumn_.size(); ++i)
        if (table.def.columns[i].conversion.kind == erp::FieldKind::Date) {
            ValueOf(i);
            known_ |= std::uint64_t{1} << i;
        }
}

platform::Statement RecordStatements::Fill(const TableStatement& statement) {
    values_.clear();
    values_.reserve(statement.columns.size());
    AppendValues(statement, values_);
    return {statement.Shape(), tableName_, values_};
}

const Literal& RecordStatements::ValueOf(std::size_t column) {
    const std::uint64_t bit = std::uint64_t{1} << column;
    if ((known_ & bit) != 0) return byColumn_[column];
    byColumn_[column] = platform::NamingPlace([&] { return Converted(column); },
                                              [&] { return PlaceOf(table_.def.columns[column]); });
    if (!atHand_.empty()) known_ |= bit;
    return byColumn_[column];
}

Literal RecordStatements::Converted(std::size_t index) {
    const Column& column = table_.def.columns[index];
    const Conversion& conversion = column.conversion;
    if (!conversion.asksErp) return conversion.make(Value(), literals_, kept_);
    if (!atHand_.empty()) return conversion.make(atHand_[table_.places[index]], literals_, kept_);
    return conversion.make(kept_.emplace_front(record_.Get(column.getter)), literals_, kept_);
}

// The getter, the table and the record's key, which an operator can look up in the ERP.
std::string RecordStatements::PlaceOf(const Column& failed) const {
    std::string place = std::string(failed.getter) + " of " + tableName_;
    for (const AuditKey& key : table_.def.auditKeys)
        for (const Column& column : table_.def.columns)
            if (column.name == key.field) place += ", " + std::string(column.name) + " " + Shown(column);
    return place;
}

std::string RecordStatements::Shown(const Column& key) const {
    constexpr std::size_t kLongest = 100;
    try {
        const Value value = record_.Get(key.getter);
        if (value.Is<platform::Null>()) return "Null";
        return "'" + platform::Printable(platform::ToText(value), kLongest) + "'";
    } catch (const platform::RuntimeError&) {
        return "unknown";
    }
}

}  // namespace iqrx::engine
