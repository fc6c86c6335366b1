// A table as data: its columns, key ranges, audit fields and statements in full sight.
#pragma once

#include <string_view>

#include "engine/conversions.h"
#include "platform/fixed_list.h"
#include "platform/statement.h"
#include "runtime/sql.h"

namespace iqrx::engine {

using platform::FixedList;

struct Column {
    std::string_view name;
    std::string_view getter;
    Conversion conversion;
    std::string_view field = name;  // the ERP's field name
};

// The bounds of one key field: texts, or single-precision numbers.
struct KeyBounds {
    std::string_view from = {};
    std::string_view to = {};
    int width = 0;  // above 0: up to that many characters of code 127
    platform::Single numberFrom = 0, numberTo = 0;
    bool numeric = false;
};
constexpr KeyBounds UpTo(int width) { return {.width = width}; }
constexpr KeyBounds Between(std::string_view from, std::string_view to) { return {.from = from, .to = to}; }
constexpr KeyBounds Numbers(platform::Single from, platform::Single to) {
    return {.numberFrom = from, .numberTo = to, .numeric = true};
}

struct AuditKey {
    std::string_view field;
    KeyBounds range;
    bool keptByNoColumn = false;  // a key of the ERP's only
};

// Not constexpr on purpose: a table that reaches one of these does not compile, and the name says why.
void TheTableHasTooManyColumns();
void AnOutputFieldIsNoColumn();
void AnAuditKeyIsNoColumn();
void TheStatusFieldIsNoColumn();
void UpdateOrInsertIsEmpty();
void StatementNamesAnUnknownColumn();
void NoStatementUsesThisColumn();

struct TableDef {
    std::string_view name;
    std::string_view titleLabel;
    FixedList<Column, 40, TheTableHasTooManyColumns> columns;
    FixedList<KeyBounds, 4> fullRanges = {};  // handed to the manager by a full copy
    FixedList<AuditKey, 4> auditKeys = {};    // the key, in key order, and what the audit trail is asked for
    FixedList<std::string_view, 32> outputFields = {};
    std::string_view statusField = {};  // the field that a full copy by status asks for
    // Statements: "{column}" is a hole, "{table}" the table's name.
    std::string_view update = {}, insert = {}, remove = {};
    std::string_view count = {};  // of a table whose full copy lets the server choose between the two
    std::string_view fullFailure = "SLBL0456";
    std::string_view incrementalFailure = "SLBL0512";
    bool countsEveryInsert = false;  // true: an INSERT counts whatever number of rows the server reports
};

// A statement cut into its shape and the columns that fill the shape's holes.
struct TableStatement {
    platform::FixedList<platform::Piece, 72> pieces;
    platform::FixedList<std::uint8_t, 40> columns;

    platform::Shape Shape(std::string_view opening = {}) const {
        return {{pieces.data(), pieces.size()}, opening};
    }
};

struct Table {
    TableDef def;
    TableStatement update, insert, remove, count;
    FixedList<erp::FieldLayout, 48> fields;
    FixedList<std::uint8_t, 40> places;  // of each column, in the layout
    bool hasDates = false;

    // Views into this table, which lives forever.
    erp::TableLayout Layout() const { return {def.name, {fields.data(), fields.size()}}; }
};

// Cuts a table's statements and checks them: an unknown name in a hole, an unclosed brace, a column that no
// statement uses and an empty UPDATE or INSERT do not compile; nor does an output field, an audit key or a
// status field that no column keeps, which a copy would silently take for missing.
consteval Table Checked(const TableDef& def);

}  // namespace iqrx::engine

#include "engine/table_check.h"
