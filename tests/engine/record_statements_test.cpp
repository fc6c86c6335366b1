#include <gtest/gtest.h>

#include <string>

#include "engine/record_statements.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using namespace engine;

constexpr TableDef kColumns{
    .name = "columns",
    .titleLabel = "",
    .columns = {{"a", "getA", kText}, {"b", "getB", kText}},
    .auditKeys = {},
    .outputFields = {},
    .update = {},
    .insert = {},
    .remove = {},
};

// The pieces of a statement, the table's name as "table" and a column by its place, in angle brackets.
std::string Pieces(const TableStatement& statement) {
    using enum platform::Piece::Then;
    std::string pieces;
    std::size_t hole = 0;
    for (const platform::Piece& piece : statement.pieces) {
        if (!piece.text.empty()) pieces += "[" + std::string(piece.text) + "]";
        if (piece.then == Table) pieces += "<table>";
        if (piece.then == Value) pieces += "<" + std::to_string(statement.columns[hole++]) + ">";
    }
    return pieces;
}

TEST(SqlTexts, AreCutIntoTextsAndColumns) {
    constexpr TableStatement kUpdate = Cut(kColumns, "UPDATE {table} SET b = {b}");
    constexpr TableStatement kNoTextBetween = Cut(kColumns, "{a}{b}");
    constexpr TableStatement kNoColumn = Cut(kColumns, "no column");
    EXPECT_EQ(Pieces(kUpdate), "[UPDATE ]<table>[ SET b = ]<1>");
    EXPECT_EQ(Pieces(kNoTextBetween), "<0><1>");
    EXPECT_EQ(Pieces(kNoColumn), "[no column]");
}

TEST(SqlTexts, WriteABraceAsTwo) {
    constexpr TableStatement kBraces = Cut(kColumns, "{{{a}}}");
    EXPECT_EQ(Pieces(kBraces), "[{]<0>[}]");
}

constexpr Table kExample = Checked({
    .name = "example",
    .titleLabel = "",
    .columns = {{"id", "getId", kText}, {"day", "getDay", kUtcDate}, {"note", "getNote", kText, "memo"}},
    .auditKeys = {{"id", UpTo(3)}},
    .outputFields = {},
    .update = "UPDATE {table} SET note={note},day={day} WHERE id={id}",
    .insert = "INSERT {{{table}}} {id},{day},{note}",
    .remove = "DELETE {id}",
});

class Statements : public TestProcess, public ::testing::Test {
protected:
    Statements() {
        erp.logGetters = true;
        record = erp.MakeRecord(
            {{"getId", "A"s}, {"getNote", "it's {braces}"s}, {"getDay", At("2026-03-04 05:06:07")}}, "record");
    }
    const std::string tableName = "local";
    platform::ObjectRef record;
};

TEST_F(Statements, TakeTheirTableAndTheRecordsValues) {
    RecordStatements statements(kExample, *record, tableName, process.database.Literals());
    EXPECT_EQ(statements.Fill(kExample.update).Text(),
              "UPDATE local SET note=N'it''s {braces}',day=CONVERT(DATETIME,'2026-03-04 04:06:07',120) "
              "WHERE id=N'A'");
    EXPECT_EQ(statements.Fill(kExample.insert).Text(),
              "INSERT {local} N'A',CONVERT(DATETIME,'2026-03-04 04:06:07',120),N'it''s {braces}'");
}

TEST_F(Statements, AskForDatesOnceAndForTheOtherValuesInEachText) {
    RecordStatements statements(kExample, *record, tableName, process.database.Literals());
    statements.Fill(kExample.update).Text();
    statements.Fill(kExample.insert).Text();
    EXPECT_EQ(erp.calls, (std::vector<std::string>{"record.getDay()", "record.getNote()", "record.getId()",
                                                   "record.getId()", "record.getNote()"}));
}

TEST(Layouts, BeginWithTheKeyAndNameTheErpsFields) {
    const erp::TableLayout layout = kExample.Layout();
    ASSERT_EQ(layout.fields.size(), 3U);
    EXPECT_TRUE(layout.fields[0].key);
    EXPECT_EQ(layout.fields[0].getter, "getId");
    EXPECT_EQ(layout.fields[1].kind, erp::FieldKind::Date);
    EXPECT_FALSE(layout.fields[2].key);
    EXPECT_EQ(layout.fields[2].field, "memo");
}

}  // namespace
}  // namespace iqrx::testing
