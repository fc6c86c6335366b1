#include "qrxctl/init_command.h"

#include <fstream>
#include <sstream>
#include <vector>

#include "platform/csv_reader.h"
#include "platform/error.h"
#include "runtime/database_session.h"

namespace iqrx::qrxctl {

namespace {

using platform::CsvReader;

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

std::string ReadScript(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) platform::RaiseRuntimeError(platform::kFileNotFound, file.string());
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

void ApplySchema(hosting::Composition& parts, runtime::DatabaseSession& session, const Options& options,
                 const std::filesystem::path& folder) {
    const bool embedded = parts.ApplyEmbeddedSchema(options.connection, ReadScript(folder / "sqlite.sql"));
    session.OpenDatabase(options.connection, options.database);
    if (embedded) return;
    if (PlatformNumber(options) == runtime::kOracle)
        for (const std::string& block : Blocks(ReadScript(folder / "oracle.sql"))) session.Execute(block);
    else
        session.Execute(ReadScript(folder / "sqlserver.sql"));
}

// Cells of a row by column name, as literals.
class Row {
public:
    Row(const CsvReader& csv, const runtime::SqlLiterals& literals) : csv_(csv), literals_(literals) {}
    std::string Text(std::string_view column) const { return literals_.QuoteSqlString(Cell(column)); }
    std::string Number(std::string_view column) const { return Cell(column); }

private:
    std::string Cell(std::string_view name) const {
        const auto column = csv_.FindColumn(name);
        if (!column) csv_.FailFile("column " + std::string(name) + " is missing");
        return std::string(csv_.Cell(*column));
    }
    const CsvReader& csv_;
    const runtime::SqlLiterals& literals_;
};

void InsertWhereMissing(runtime::DatabaseSession& session, const std::string& table,
                        const std::string& condition, const std::string& columns, const std::string& values) {
    const std::string where = condition.empty() ? "" : " WHERE " + condition;
    if (!session.OpenRecordset("SELECT * FROM " + table + where)->Eof()) return;
    session.Execute("INSERT INTO " + table + " (" + columns + ") VALUES (" + values + ")");
}

void FillCatalog(runtime::DatabaseSession& session, const std::filesystem::path& folder) {
    CsvReader csv(folder / "catalog.csv", "qrxctl init");
    while (csv.Next()) {
        const Row row(csv, session.Literals());
        const std::string id = row.Number("tableid"), name = row.Text("tablename"), label = row.Text("label");
        InsertWhereMissing(session, "tstables", "tablename = " + name,
                           "tablename, ERPTableID, tableid, productid, FilterFlag, in_use, reqd",
                           name + ", " + row.Text("ERPTableID") + ", " + id + ", " + row.Text("productid") +
                               ", " + row.Number("FilterFlag") + ", " + row.Number("in_use") + ", " +
                               row.Number("reqd"));
        InsertWhereMissing(session, "tstreenodes", "tableid = " + id + " AND groupid = " + row.Text("groupid"),
                           "tableid, groupid, label", id + ", " + row.Text("groupid") + ", " + label);
        InsertWhereMissing(session, "tsi18ntext", "label = " + label, "label, text",
                           label + ", " + row.Text("text"));
    }
    CsvReader parameters(folder / "parameters.csv", "qrxctl init");
    while (parameters.Next()) {
        const Row row(parameters, session.Literals());
        InsertWhereMissing(session, "tsparameters", "", "Qrxcal, tvkparam",
                           row.Number("Qrxcal") + ", " + row.Number("tvkparam"));
    }
}

// The catalog has the name in small letters; the server compares by the collation that the tables were made
// with.
bool TakesSmallLettersForCapitals(runtime::DatabaseSession& session) {
    return !session.OpenRecordset("SELECT * FROM tstables WHERE tablename = N'TSMDM030'")->Eof();
}

}  // namespace

void Init(hosting::Composition& parts, const Options& options, const std::filesystem::path& schemaFolder,
          std::ostream& warnings) {
    control::Ports ports = parts.Ports(warnings);
    runtime::DatabaseSession session(ports.machine, ports.databases);
    session.SetPlatform(PlatformNumber(options));
    ApplySchema(parts, session, options, schemaFolder);
    FillCatalog(session, schemaFolder);
    if (PlatformNumber(options) != runtime::kOracle && TakesSmallLettersForCapitals(session))
        warnings << "qrxctl: the database does not tell a from A: two ERP keys that differ only in that meet in "
                    "one row. Make it anew with a collation that is case- and accent-sensitive"
                 << std::endl;
    session.CloseDatabase();
}

}  // namespace iqrx::qrxctl
