#include "qrxctl/status_command.h"

#include <iomanip>
#include <ostream>
#include <vector>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/json_text.h"

namespace iqrx::qrxctl {

namespace {

constexpr runtime::Sql<1> kControlRow = "SELECT * FROM tstables WHERE tablename = {table name}";
constexpr runtime::Sql<1> kFullSync = "SELECT * FROM tsfullsyncs WHERE tablename = {table name}";
constexpr runtime::Sql<0> kRows = "SELECT count(*) FROM {table}";

struct TableStatus {
    std::string table;
    platform::Value lastUpdate = {};
    bool inUse = false;
    platform::Long rows = 0;
    std::string fullCopyMark = {};  // "none", "started" or "finished"
};

std::string FullCopyMark(runtime::DatabaseSession& session, const std::string& table) {
    auto rows = session.OpenRecordset(kFullSync(session.Literals().QuoteSqlString(table)));
    if (rows->Eof()) return "none";
    // The finish mark of SQL Server is a date, that of Oracle is none: there the start mark is none either.
    const bool unfinished =
        rows->Field("finishtime").Is<platform::Null>() && !rows->Field("starttime").Is<platform::Null>();
    return unfinished ? "started" : "finished";
}

TableStatus StatusOf(runtime::DatabaseSession& session, const std::string& table) {
    TableStatus status{.table = table};
    auto control = session.OpenRecordset(kControlRow(session.Literals().QuoteSqlString(table)));
    if (!control->Eof()) {
        status.lastUpdate = control->Field("lutm");
        const platform::Value inUse = control->Field("in_use");
        status.inUse = !inUse.Is<platform::Null>() && platform::ToLong(inUse) == 1;
    }
    status.rows = platform::ToLong(session.OpenRecordset(kRows.On(table))->Field(0));
    status.fullCopyMark = FullCopyMark(session, table);
    return status;
}

std::string LastUpdateText(const TableStatus& status) {
    return status.lastUpdate.Is<platform::Date>()
               ? platform::IsoDateTime(status.lastUpdate.As<platform::Date>())
               : "";
}

void ShowTable(const std::vector<TableStatus>& tables, std::ostream& out) {
    out << std::left << std::setw(10) << "table" << std::setw(21) << "last update" << std::setw(8) << "in use"
        << std::right << std::setw(10) << "rows"
        << "  full-copy mark\n";
    for (const TableStatus& status : tables) {
        const std::string lastUpdate = LastUpdateText(status);
        out << std::left << std::setw(10) << status.table << std::setw(21)
            << (lastUpdate.empty() ? "never" : lastUpdate) << std::setw(8) << (status.inUse ? "yes" : "no")
            << std::right << std::setw(10) << status.rows << "  " << status.fullCopyMark << '\n';
    }
}

void ShowJson(const std::vector<TableStatus>& tables, std::ostream& out) {
    out << '[';
    const char* separator = "\n";
    for (const TableStatus& status : tables) {
        const std::string lastUpdate = LastUpdateText(status);
        out << separator << "  {\"table\":" << platform::JsonText(status.table)
            << ",\"last_update\":" << (lastUpdate.empty() ? "null" : platform::JsonText(lastUpdate))
            << ",\"in_use\":" << (status.inUse ? "true" : "false") << ",\"rows\":" << status.rows
            << ",\"full_copy_mark\":" << platform::JsonText(status.fullCopyMark) << '}';
        separator = ",\n";
    }
    out << "\n]\n";
}

class StatusCommand : public Command {
public:
    void AddOptions(CLI::App&) override {}
    void Check(const Options& options) const override { RequireConnection(options); }

    ExitCode Run(const Workplace& place) override {
        const Options& options = place.options;
        hosting::Composition parts(place.surroundings);
        control::Process process(parts.Ports(place.talk));
        PrepareProcess(process, options);
        process.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
        std::vector<TableStatus> tables;
        for (int id = 0; id < control::TableCatalog::kLastId; ++id)
            if (const std::string table = process.catalog.GetTableName(id); !table.empty())
                tables.push_back(StatusOf(process.database, table));
        process.database.CloseDatabase();
        if (options.json)
            ShowJson(tables, place.out);
        else
            ShowTable(tables, place.out);
        return kAllWell;
    }
};

}  // namespace

std::unique_ptr<Command> MakeStatus() { return std::make_unique<StatusCommand>(); }

}  // namespace iqrx::qrxctl
