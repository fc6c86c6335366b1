// The check that Checked() makes; include engine/table.h instead.
#pragma once

#include <algorithm>
#include <array>

namespace iqrx::engine {

constexpr std::size_t ColumnNamed(const TableDef& def, std::string_view name) {
    const auto* const found = std::ranges::find(def.columns, name, &Column::name);
    if (found == def.columns.end()) StatementNamesAnUnknownColumn();
    return static_cast<std::size_t>(found - def.columns.begin());
}

consteval TableStatement Cut(const TableDef& def, std::string_view text) {
    using enum platform::Piece::Then;
    TableStatement statement;
    runtime::CutSql(
        text,
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

// Whether one of the columns or fields of a layout is this field of the ERP's.
constexpr bool Names(const auto& list, std::string_view field) {
    return std::ranges::any_of(list, [&](const auto& item) { return item.field == field; });
}

// The key fields first and in key order; a field that feeds two columns stands once.
constexpr FixedList<erp::FieldLayout, 48> LayoutFields(const TableDef& def) {
    FixedList<erp::FieldLayout, 48> fields;
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
        if (!column.getter.empty() && !Names(fields, column.field))
            fields.Append({column.getter, column.field, column.conversion.kind, false,
                           column.field == def.statusField});
    return fields;
}

constexpr void RequireKnownFields(const TableDef& def) {
    for (const std::string_view field : def.outputFields)
        if (!Names(def.columns, field)) AnOutputFieldIsNoColumn();
    for (const AuditKey& key : def.auditKeys)
        if (!key.keptByNoColumn && !Names(def.columns, key.field)) AnAuditKeyIsNoColumn();
    if (!def.statusField.empty() && !Names(def.columns, def.statusField)) TheStatusFieldIsNoColumn();
}

constexpr FixedList<std::uint8_t, 40> Places(const TableDef& def,
                                             const FixedList<erp::FieldLayout, 48>& fields) {
    FixedList<std::uint8_t, 40> places;
    for (const Column& column : def.columns) {
        const auto* const place = std::ranges::find(fields, column.field, &erp::FieldLayout::field);
        places.Append(static_cast<std::uint8_t>(place - fields.begin()));
    }
    return places;
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
    table.hasDates = std::ranges::any_of(
        def.columns, [](const Column& column) { return column.conversion.kind == erp::FieldKind::Date; });
    if (table.update.pieces.empty() || table.insert.pieces.empty()) UpdateOrInsertIsEmpty();
    RequireEveryColumn(table);
    RequireKnownFields(def);
    return table;
}

}  // namespace iqrx::engine
