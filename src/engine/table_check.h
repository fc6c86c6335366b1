// The check that Checked() makes; include engine/table.h instead.
#pragma once

#include <array>

namespace iqrx::engine {

constexpr std::size_t ColumnNamed(const TableDef& def, std::string_view name) {
    for (std::size_t i = 0; i < def.columns.size(); ++i)
        if (def.columns[i].name == name) return i;
    StatementNamesAnUnknownColumn();
    return 0;
}

consteval TableStatement Cut(const TableDef& def, const SqlText& text) {
    using enum platform::Piece::Then;
    TableStatement statement;
    runtime::CutSql(
        text.View(),
        [&](std::string_view piece) {
            statement.pieces.Append({piece, Nothing});
        },
        [&](std::string_view hole) {
            const bool isTable = hole == runtime::kTableHole;
            statement.pieces.Append({{}, isTable ? Table : Value});
            if (!isTable) statement.columns.Append(static_cast<std::uint8_t>(ColumnNamed(def, hole)));
        });
    return statement;
}

constexpr void RequireEveryColumn(const Table& table) {
    std::array<bool, 40> used{};
    for (const TableStatement* statement : {&table.update, &table.insert, &table.remove, &table.count})
        for (const std::uint8_t column : statement->columns) used[column] = true;
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

constexpr FixedList<std::uint8_t, 40> Places(const TableDef& def,
                                             const FixedList<erp::FieldLayout, 48>& fields) {
    FixedList<std::uint8_t, 40> places;
    for (const Column& column : def.columns)
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (fields[i].field == column.field) {
                places.Append(static_cast<std::uint8_t>(i));
                break;
            }
    return places;
}

constexpr bool HasDates(const TableDef& def) {
    for (const Column& column : def.columns)
        if (column.conversion.kind == erp::FieldKind::Date) return true;
    return false;
}

consteval Table Checked(const TableDef& def) {
    Table table;
    table.def = def;
    table.update = Cut(def, def.update);
    table.insert = Cut(def, def.insert);
    table.remove = Cut(def, def.remove);
    table.count = Cut(def, def.count);
    table.fields = LayoutFields(def);
    table.places = Places(def, table.fields);
    table.hasDates = HasDates(def);
    if (table.update.pieces.empty() || table.insert.pieces.empty()) UpdateOrInsertIsEmpty();
    RequireEveryColumn(table);
    RequireKnownFields(def);
    return table;
}

}  // namespace iqrx::engine
