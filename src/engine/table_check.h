// The check behind Checked(); include engine/table.h instead.
#pragma once

#include <array>

namespace iqrx::engine {

constexpr int ColumnNamed(const TableDef& def, std::string_view name) {
    for (std::size_t i = 0; i < def.columns.size(); ++i)
        if (def.columns[i].name == name) return static_cast<int>(i);
    StatementNamesAnUnknownColumn();
    return Piece::kText;
}

constexpr Statement Cut(const TableDef& def, const SqlTemplate& text) {
    Statement statement;
    text.Walk([&](std::string_view piece) { statement.Append({piece}); },
              [&](std::string_view hole) {
                  statement.Append({{}, hole == "table" ? Piece::kTableName : ColumnNamed(def, hole)});
              });
    return statement;
}

constexpr void RequireEveryColumn(const Table& table) {
    std::array<bool, 40> used{};
    for (const Statement* statement : {&table.update, &table.insert, &table.remove, &table.count})
        for (const Piece& piece : *statement)
            if (piece.column >= 0) used[static_cast<std::size_t>(piece.column)] = true;
    for (std::size_t i = 0; i < table.def.columns.size(); ++i)
        if (!used[i]) NoStatementUsesThisColumn();
}

// The key fields first and in key order; a field that feeds two columns stands once.
constexpr FixedList<erp::FieldLayout, 48> LayoutFields(const TableDef& def) {
    FixedList<erp::FieldLayout, 48> fields;
    const auto knows = [&](std::string_view field) {
        for (const auto& known : fields)
            if (known.field == field) return true;
        return false;
    };
    for (const AuditKey& key : def.auditKeys) {
        erp::FieldLayout layout{{}, key.field, erp::FieldKind::Whole, true};
        for (const Column& column : def.columns)
            if (column.field == key.field) {
                layout.getter = column.getter;
                layout.kind = column.conversion.kind;
            }
        fields.Append(layout);
    }
    for (const Column& column : def.columns)
        if (!column.getter.empty() && !knows(column.field))
            fields.Append({column.getter, column.field, column.conversion.kind, false,
                           column.field == def.statusField});
    return fields;
}

constexpr bool HasField(const TableDef& def, std::string_view field) {
    for (const Column& column : def.columns)
        if (column.field == field) return true;
    return false;
}

constexpr void RequireKnownFields(const TableDef& def) {
    for (const std::string_view field : def.outputFields)
        if (!HasField(def, field)) AnOutputFieldIsNoColumn();
    for (const AuditKey& key : def.auditKeys)
        if (!key.keptByNoColumn && !HasField(def, key.field)) AnAuditKeyIsNoColumn();
    if (!def.statusField.empty() && !HasField(def, def.statusField)) TheStatusFieldIsNoColumn();
}

constexpr bool HasDates(const TableDef& def) {
    for (const Column& column : def.columns)
        if (column.conversion.kind == erp::FieldKind::Date) return true;
    return false;
}

consteval Table Checked(const TableDef& def) {
    Table table{def,
                Cut(def, def.update),
                Cut(def, def.insert),
                Cut(def, def.remove),
                Cut(def, def.count),
                LayoutFields(def),
                HasDates(def)};
    if (def.update.empty() || def.insert.empty()) UpdateOrInsertIsEmpty();
    RequireEveryColumn(table);
    RequireKnownFields(def);
    return table;
}

}  // namespace iqrx::engine
