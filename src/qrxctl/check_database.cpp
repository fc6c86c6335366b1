#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/printable.h"
#include "platform/text.h"
#include "qrxctl/checks.h"
#include "qrxctl/lines.h"
#include "qrxctl/locked_table.h"
#include "qrxctl/reading.h"
#include "qrxctl/schema_script.h"
#include "qrxctl/table_choice.h"
#include "tables/definitions.h"
#include "tables/orders/change_logged_copy.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;
using runtime::Sql;

// Longer than a copy keeps others waiting.
constexpr int kPatienceSeconds = 10;

constexpr Sql<1> kProbe =
    "INSERT INTO tsfullsyncs (tablename ,starttime,finishtime ) VALUES({table name},NULL,NULL)";
constexpr Sql<0> kEmbeddedTables = "SELECT name, sql FROM sqlite_master WHERE type = 'table'";
constexpr Sql<0> kServerColumns = "SELECT TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM INFORMATION_SCHEMA.COLUMNS";
constexpr Sql<1> kSchemaColumns =
    "SELECT TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM INFORMATION_SCHEMA.COLUMNS WHERE TABLE_SCHEMA = {schema}";
constexpr Sql<0> kOracleColumns =
    "SELECT TABLE_NAME, COLUMN_NAME, DATA_TYPE FROM ALL_TAB_COLUMNS"
    " WHERE OWNER = SYS_CONTEXT('USERENV', 'CURRENT_SCHEMA')";
constexpr Sql<1> kFilter = "SELECT FilterFlag FROM tstables WHERE tablename = {table name}";

struct RolledBack {};

// Whether a row can be written: it is written and taken back.
bool MayWrite(runtime::DatabaseSession& database) {
    try {
        database.RunExclusively([&] {
            database.Execute(kProbe(platform::Literal::Text("qrxctl check")));
            throw RolledBack{};
        });
    } catch (const RolledBack&) {
        return true;
    }
    return false;
}

// Of an embedded database its file; of a server nothing that might be secret.
std::string PlaceOf(Site& site) {
    if (!IsEmbedded(site.options)) {
        const std::string& name = site.process.database.CurrentDatabase();
        return name.empty() ? "on its server" : platform::Printable(name) + " on its server";
    }
    const std::string name =
        platform::ConnectionString(site.options.connection).Find("Data Source").value_or("");
    std::error_code unknown;
    const fs::path file = fs::absolute(platform::Path(name), unknown);
    const std::uintmax_t size = fs::file_size(file, unknown);
    std::string text = platform::Shown(file) + (unknown ? "" : ", " + SizeText(size));
    const fs::space_info space = fs::space(file, unknown);
    return text + (unknown ? "" : ", " + SizeText(space.available) + " free");
}

std::vector<TableText> EmbeddedTables(runtime::DatabaseSession& database) {
    std::string script;
    for (auto rows = database.OpenRecordset(kEmbeddedTables()); !rows->Eof(); rows->MoveNext())
        script += platform::ToText(rows->Field("sql")) + ";\n";
    return TablesOf(script);
}

std::unique_ptr<platform::Recordset> ServerColumns(runtime::DatabaseSession& database, const Options& options) {
    if (IsPostgres(options))
        return database.OpenRecordset(kSchemaColumns(platform::Literal::Text(database.CurrentDatabase())));
    const bool oracle = PlatformNumber(options) == runtime::kOracle;
    return database.OpenRecordset(oracle ? kOracleColumns() : kServerColumns());
}

// The first word of a type tells it: DOUBLE PRECISION, TIMESTAMP WITHOUT TIME ZONE.
std::string TypeOf(const platform::Value& type) {
    const std::string name = platform::Upper(platform::ToText(type));
    return name.substr(0, name.find(' '));
}

std::vector<TableText> ServerTables(runtime::DatabaseSession& database, const Options& options) {
    std::map<std::string, TableText> tables;
    auto rows = ServerColumns(database, options);
    for (; !rows->Eof(); rows->MoveNext()) {
        TableText& table = tables[platform::Lower(platform::ToText(rows->Field(0)))];
        table.name = platform::Lower(platform::ToText(rows->Field(0)));
        table.columns.push_back({platform::ToText(rows->Field(1)), TypeOf(rows->Field(2))});
    }
    std::vector<TableText> list;
    list.reserve(tables.size());
    for (auto& [name, table] : tables) list.push_back(std::move(table));
    return list;
}

// A name that is wider than the column of subjects goes into the text.
void WrongTable(Findings& findings, const std::string& table, const std::string& text, const std::string& step) {
    constexpr std::size_t kWidest = 9;
    if (table.size() > kWidest)
        findings.Wrong("tables", table + ": " + text, step);
    else
        findings.Wrong(table, text, step);
}

// What is wrong with a table's columns, in one line; empty when nothing is.
std::string WrongColumns(const TableText& expected, const TableText& found) {
    std::vector<std::string> missing;
    std::string others;
    for (const TableText::Column& column : expected.columns) {
        const auto same = std::ranges::find_if(found.columns, [&](const TableText::Column& other) {
            return platform::EqualIgnoringCase(other.name, column.name);
        });
        if (same == found.columns.end())
            missing.push_back(column.name);
        else if (same->type != column.type)
            others += fmt::format("{}column {} is {}, expected {}", others.empty() ? "" : "; ", column.name,
                                  same->type.empty() ? "of no type" : same->type, column.type);
    }
    if (missing.empty()) return others;
    return (missing.size() == 1 ? "has no column " : "has no columns ") + Some(missing) +
           (others.empty() ? "" : "; " + others);
}

std::string KindsOf(const std::vector<TableText>& tables) {
    const platform::TableNames control = control::CoordinatingTables();
    std::int64_t controls = 0, logs = 0;
    for (const TableText& table : tables)
        if (control.contains(table.name))
            ++controls;
        else if (table.name.ends_with("_audit"))
            ++logs;
    return fmt::format("{} target, {}, {} control; columns as expected",
                       static_cast<std::int64_t>(tables.size()) - controls - logs,
                       Counted(logs, "change log"), controls);
}

std::string ErrorText() { return platform::OneLine(platform::CurrentError().description); }

// The error being handled, as what is wrong with a part.
void WrongBy(Site& site, const char* subject) {
    const std::string error = ErrorText();
    site.findings.Wrong(subject, error, StepAfter(error));
}

// Nothing of the text is said of a flag that lets statuses through.
std::string WhatIsWrongWithFilter(Site& site, const engine::TableDef& def) {
    runtime::DatabaseSession& database = site.process.database;
    const std::string table(def.name);
    auto rows = database.OpenRecordset(kFilter(platform::Literal::Text(table)));
    if (rows->Eof()) return {};
    const platform::Value flag = rows->Field(0);
    if (flag.Is<platform::Null>()) return table + ".FilterFlag is NULL: every full copy of it fails";
    if (def.statusField.empty() || !tables::StatusRanges(platform::ToInteger(flag)).empty()) return {};
    return fmt::format("{}.FilterFlag is {}: a full copy would remove all {} rows", table,
                       platform::ToInteger(flag), Grouped(NumberFrom(database, kRowCount.On(table))));
}

}  // namespace

bool CheckDatabase(Site& site) {
    const Options& options = site.options;
    try {
        site.process.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
        site.process.database.DbConnection().SetCommandTimeout(kPatienceSeconds);
    } catch (...) {
        WrongBy(site, "database");
        return false;
    }
    try {
        const bool may = MayWrite(site.process.database);
        const std::string place = PlaceOf(site);
        if (may)
            site.findings.Ok("database", place + ", may write");
        else
            site.findings.Wrong("database", place + ", may not write");
    } catch (...) {
        site.findings.Wrong("database", PlaceOf(site) + ", may not write: " + ErrorText(),
                            StepAfter(ErrorText()));
    }
    return true;
}

bool CheckTables(Site& site) {
    Findings& findings = site.findings;
    const std::int64_t before = findings.Count(CheckedItem::Grade::Wrong);
    try {
        const fs::path folder = site.process.machine.programFolder / "schema";
        const std::vector<TableText> expected = TablesOf(ReadScript(ScriptOf(site.options, folder)));
        runtime::DatabaseSession& database = site.process.database;
        const std::vector<TableText> found =
            IsEmbedded(site.options) ? EmbeddedTables(database) : ServerTables(database, site.options);
        for (const TableText& table : expected)
            if (const TableText* other = FindTable(found, table.name); other == nullptr)
                WrongTable(findings, table.name, "is missing", "qrxctl init");
            else if (const std::string wrong = WrongColumns(table, *other); !wrong.empty())
                WrongTable(findings, table.name, wrong, "qrxctl init --show " + table.name);
        if (findings.Count(CheckedItem::Grade::Wrong) == before) findings.Ok("tables", KindsOf(expected));
    } catch (...) {
        findings.Wrong("tables", "cannot be looked at: " + ErrorText());
    }
    return true;
}

bool CheckCatalog(Site& site) {
    try {
        PrepareProcess(site.process, site.options);
        const auto tables = TablesOf(site.process.catalog);
        site.findings.Ok("catalog", fmt::format("{} in group {}",
                                                Counted(static_cast<std::int64_t>(tables.size()), "table"),
                                                site.options.group));
        return true;
    } catch (...) {
        WrongBy(site, "catalog");
        return false;
    }
}

void CheckFilters(Site& site) {
    constexpr const char* kStep = "127 copies every status; see docs/local-database.md";
    std::int64_t wrong = 0;
    const std::vector<std::string> catalog = TablesOf(site.process.catalog);
    for (const engine::Table* table : tables::kTables) try {
            const engine::TableDef& def = table->def;
            if (std::ranges::find(catalog, def.name, platform::Lower) == catalog.end()) continue;
            // The service objects' copy reads its flag, though none of its rows has a status.
            if (def.statusField.empty() && def.name != "tscfg200") continue;
            const std::string text = WhatIsWrongWithFilter(site, def);
            if (text.empty()) continue;
            site.findings.Wrong("filter", text, def.statusField.empty() ? "set it to 0 in tstables" : kStep);
            ++wrong;
        } catch (...) {
            WrongBy(site, "filter");
            ++wrong;
        }
    if (wrong == 0) site.findings.Ok("filter", "orders and activities pass by their status");
}

void CheckLocks(Site& site) {
    const journal::Timestamp now = Moment(site.parts);
    std::int64_t copied = 0, left = 0;
    for (const std::string& table : TablesOf(site.process.catalog)) try {
            if (!site.process.controlTables.IsTableInUse(table)) continue;
            const journal::SheetState state = site.books.sheets.StateOf(table);
            if (state.holder == journal::Holder::Living) {
                ++copied;
                continue;
            }
            ++left;
            const std::string step = "qrxctl unlock " + table;
            if (state.holder == journal::Holder::Dead)
                site.findings.Wrong("lock",
                                    fmt::format("{} {}, pid {} is gone", table, LockedSince(state.sheet, now),
                                                state.sheet.by.pid),
                                    step);
            else
                site.findings.Note("lock", table + " is " + WithoutProof(state, LastSign(state.sign, now)),
                                   step);
        } catch (...) {
            WrongBy(site, "lock");
            ++left;
        }
    if (left == 0)
        site.findings.Ok("lock",
                         copied == 0 ? "no table is locked" : Counted(copied, "table") + " being copied now");
}

}  // namespace iqrx::qrxctl
