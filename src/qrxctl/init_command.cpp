#include "qrxctl/init_command.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "platform/csv_reader.h"
#include "qrxctl/lines.h"
#include "qrxctl/schema_script.h"
#include "runtime/database_session.h"

namespace iqrx::qrxctl {

namespace {

using platform::CsvReader;
using platform::Literal;
using runtime::Sql;
using Json = nlohmann::ordered_json;

// The blocks of a script; a line with a single slash ends each.
std::vector<std::string> Blocks(const std::string& script) {
    std::vector<std::string> blocks(1);
    std::istringstream lines(script);
    for (std::string line; std::getline(lines, line);) {
        if (line == "/")
            blocks.emplace_back();
        else
            blocks.back() += line + '\n';
    }
    std::erase_if(blocks, [](const std::string& block) {
        return block.find_first_not_of(" \r\n") == std::string::npos;
    });
    return blocks;
}

void ApplySchema(hosting::Composition& parts, runtime::DatabaseSession& session, const Options& options,
                 const std::filesystem::path& folder) {
    const bool embedded = parts.ApplyEmbeddedSchema(options.connection, ReadScript(folder / "sqlite.sql"));
    session.OpenDatabase(options.connection, options.database, PlatformNumber(options));
    if (embedded) return;
    const std::filesystem::path script = ScriptOf(options, folder);
    if (script.filename() == "oracle.sql")
        for (const std::string& block : Blocks(ReadScript(script))) session.Execute(block);
    else
        session.Execute(ReadScript(script));
}

// Cells of the reader's row by column name, as literals.
class Row {
public:
    Row(const CsvReader& csv, const runtime::SqlLiterals& literals) : csv_(csv), literals_(literals) {}
    Literal Text(std::string_view column) const { return literals_.QuoteSqlString(Cell(column)); }
    Literal Number(std::string_view column) const { return Literal::Unknown(Cell(column)); }

private:
    std::string_view Cell(std::string_view name) const {
        const auto column = csv_.FindColumn(name);
        if (!column) csv_.FailFile("column " + std::string(name) + " is missing");
        return csv_.Cell(*column);
    }
    const CsvReader& csv_;
    const runtime::SqlLiterals& literals_;
};

constexpr Sql<1> kTable = "SELECT * FROM tstables WHERE tablename = {name}";
constexpr Sql<7> kInsertTable =
    "INSERT INTO tstables (tablename, ERPTableID, tableid, productid, FilterFlag, in_use, reqd) "
    "VALUES ({name}, {ERP table id}, {id}, {product}, {filter}, {in use}, {required})";
constexpr Sql<2> kNode = "SELECT * FROM tstreenodes WHERE tableid = {id} AND groupid = {group}";
constexpr Sql<3> kInsertNode =
    "INSERT INTO tstreenodes (tableid, groupid, label) VALUES ({id}, {group}, {label})";
constexpr Sql<1> kText = "SELECT * FROM tsi18ntext WHERE label = {label}";
constexpr Sql<2> kInsertText = "INSERT INTO tsi18ntext (label, text) VALUES ({label}, {text})";
constexpr Sql<0> kParameters = "SELECT * FROM tsparameters";
constexpr Sql<2> kInsertParameters = "INSERT INTO tsparameters (Qrxcal, tvkparam) VALUES ({days}, {expand})";

bool InsertWhereMissing(runtime::DatabaseSession& session, const platform::Statement& row,
                        const platform::Statement& insert) {
    if (!session.OpenRecordset(row)->Eof()) return false;
    session.Execute(insert);
    return true;
}

void FillCatalog(runtime::DatabaseSession& session, const std::filesystem::path& folder, Initialised& done) {
    CsvReader csv(folder / "catalog.csv", "qrxctl init");
    const Row row(csv, session.Literals());
    while (csv.Next()) {
        const Literal name = row.Text("tablename"), id = row.Number("tableid"), group = row.Text("groupid"),
                      label = row.Text("label");
        ++done.entries;
        if (InsertWhereMissing(session, kTable(name),
                               kInsertTable(name, row.Text("ERPTableID"), id, row.Text("productid"),
                                            row.Number("FilterFlag"), row.Number("in_use"), row.Number("reqd"))))
            ++done.newEntries;
        InsertWhereMissing(session, kNode(id, group), kInsertNode(id, group, label));
        InsertWhereMissing(session, kText(label), kInsertText(label, row.Text("text")));
    }
    CsvReader parameters(folder / "parameters.csv", "qrxctl init");
    const Row values(parameters, session.Literals());
    while (parameters.Next())
        InsertWhereMissing(session, kParameters(),
                           kInsertParameters(values.Number("Qrxcal"), values.Number("tvkparam")));
}

// The catalog has the name in small letters; the server compares by the collation that the tables were made
// with.
bool TakesSmallLettersForCapitals(runtime::DatabaseSession& session) {
    return !session.OpenRecordset(kTable(Literal::Text("TSMDM030")))->Eof();
}

class InitCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        show_ = command.add_option("--show", table_,
                                   "print the statement that creates this table, and do nothing");
    }
    void Check(const Options& options) const override {
        if (!*show_) RequireConnection(options);
    }

    ExitCode Run(const Workplace& place) override {
        hosting::Composition parts(place.surroundings);
        const std::filesystem::path folder = parts.Machine().programFolder / "schema";
        if (*show_)
            Show(place, ReadScript(ScriptOf(place.options, folder)));
        else
            Tell(place, Init(parts, place.options, folder, place.talk));
        return kAllWell;
    }

private:
    void Show(const Workplace& place, const std::string& script) const {
        const std::vector<TableText> tables = TablesOf(script);
        const TableText* const table = FindTable(tables, table_);
        if (table == nullptr) throw UsageError("no table \"" + table_ + "\" in the schema");
        if (place.options.json)
            place.out << Json{{"schema", 1}, {"table", table->name}, {"statement", table->statement}}.dump()
                      << '\n';
        else
            place.out << table->statement << ";\n";
    }

    static void Tell(const Workplace& place, const Initialised& done) {
        if (place.options.json)
            place.out << Json{{"schema", 1},
                              {"tables", done.tables},
                              {"catalog_entries", done.entries},
                              {"new_entries", done.newEntries}}
                             .dump()
                      << '\n';
        else if (!place.options.quiet)
            place.out << fmt::format("ok  {} tables, {} catalog entries, {} new\n", done.tables, done.entries,
                                     done.newEntries);
    }

    std::string table_;
    CLI::Option* show_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> MakeInit() { return std::make_unique<InitCommand>(); }

Initialised Init(hosting::Composition& parts, const Options& options,
                 const std::filesystem::path& schemaFolder, std::ostream& warnings) {
    Initialised done;
    control::Ports ports = parts.Ports(warnings);
    runtime::DatabaseSession session(ports.machine, ports.databases);
    ApplySchema(parts, session, options, schemaFolder);
    done.tables = static_cast<int>(TablesOf(ReadScript(ScriptOf(options, schemaFolder))).size());
    FillCatalog(session, schemaFolder, done);
    if (PlatformNumber(options) != runtime::kOracle && TakesSmallLettersForCapitals(session))
        warnings << Complaint(
                        "the database does not tell a from A: two ERP keys that differ only in that meet in one "
                        "row. Make it anew with a collation that is case- and accent-sensitive")
                 << std::flush;
    session.CloseDatabase();
    return done;
}

}  // namespace iqrx::qrxctl
