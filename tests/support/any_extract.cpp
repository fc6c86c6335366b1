#include "support/any_extract.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <fstream>

#include "erp/extract/extract_erp.h"
#include "support/test_process.h"

namespace iqrx::testing {

namespace {

// An ERP that only hears of a table's layout.
struct LayoutProbe : erp::ErpProvider {
    struct Erp : erp::Erp {
        explicit Erp(erp::TableLayout& found) : layout(found) {}
        platform::ObjectRef CreateManager(const erp::TableLayout& asked) override {
            layout = asked;
            platform::RaiseRuntimeError(platform::kObjectNotSet);
        }
        platform::ObjectRef CreateRecord(const erp::TableLayout&) override { return {}; }
        platform::ObjectRef CreateObject(std::string_view) override { return {}; }
        erp::TableLayout& layout;
    };
    std::unique_ptr<erp::Erp> Open(const std::string&, const erp::Notice&) override {
        return std::make_unique<Erp>(layout);
    }
    erp::TableLayout layout;
};

erp::TableLayout LayoutOf(const control::TableRoutine& routine) {
    LayoutProbe probe;
    RecordingDatabase nowhere;
    TestProcess process(nowhere, probe);
    process.OpenDatabase();
    EXPECT_THROW(routine.copy({process.run, std::string(routine.table), "", control::kFull}),
                 platform::RuntimeError);
    return probe.layout;
}

using Texts = std::vector<std::string>;

// What a field of the extract may hold; few keys, so that changes meet rows that are there.
std::string AnyCell(const erp::FieldLayout& field) {
    const auto one = [](const Texts& cells) { return *rc::gen::elementOf(cells); };
    if (field.status) return one({"5", "10", "15", "20", "23", "25", "35"});
    switch (field.kind) {
        case erp::FieldKind::Whole:
            return field.key ? one({"0", "1", "2", "9999"}) : one({"0", "1", "2", "10", "255"});
        case erp::FieldKind::Real:
            return field.key ? one({"0.5", "12.25", "999"})
                             : one({"0", "0.1", "0.30000000000000004", "-12.5", "0.000000000000000001", "5",
                                    "123456789012345", "1000000000000000", "12345678901234567890",
                                    "0.666666666666667", "-0.0", "1000000000000000000000000000000"});
        case erp::FieldKind::Date:
            return one({"", "1970-01-01 00:00:00", "2009-07-01 12:00:00", "2026-02-28 23:59:59",
                        "9999-12-31 00:00:00", "1969-12-31 23:59:59"});
        case erp::FieldKind::Text:
            break;
    }
    if (field.key) return one({"A", "B", "O'", "''", "%", "0"});
    return one({"",
                " ",
                "O'Brien",
                "''",
                "'",
                "5",
                "-5",
                "1E+5",
                "NULL",
                "N'x'",
                "a\nb",
                "a\r\nb",
                "{braces}",
                "?",
                "\\",
                "CONVERT(DATETIME,'',120)",
                "2009-05-07 08:00:00",
                "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                "\x7f",
                std::string(300, '\'')});
}

std::string Quoted(const std::string& cell) {
    std::string quoted = "\"";
    for (const char c : cell) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + "\"";
}

std::string AnyRow(const erp::TableLayout& layout) {
    std::string row;
    for (const erp::FieldLayout& field : layout.fields)
        row += (row.empty() ? "" : ",") + Quoted(AnyCell(field));
    return row + "\n";
}

std::string Header(const erp::TableLayout& layout) {
    std::string header;
    for (const erp::FieldLayout& field : layout.fields)
        header += (header.empty() ? "" : ",") + std::string(field.field);
    return header + "\n";
}

}  // namespace

void WriteAnyExtract(const control::TableRoutine& routine, const std::filesystem::path& directory) {
    const std::string table(routine.table);
    const erp::TableLayout layout = LayoutOf(routine);
    std::ofstream records(directory / (table + ".csv"), std::ios::binary),
        trail(directory / (table + ".audit.csv"), std::ios::binary);
    records << Header(layout);
    trail << "changed_at,change," << Header(layout);
    for (int i = 0; i < 20; ++i) records << AnyRow(layout);
    for (int i = 0; i < 10; ++i)
        trail << "2026-03-04 12:00:00," << *rc::gen::elementOf(Texts{"I", "U", "D"}) << "," << AnyRow(layout);
}

}  // namespace iqrx::testing
