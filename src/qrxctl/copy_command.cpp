#include "qrxctl/copy_command.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <ostream>

#include "hosting/cls_data_copy_handler.h"
#include "hosting/sub_main.h"
#include "platform/connection_string.h"
#include "platform/date.h"
#include "platform/error.h"
#include "qrxctl/progress.h"

namespace iqrx::qrxctl {

using platform::Integer;

namespace {

struct CopyOptions {
    std::vector<std::string> tables;
    bool all = false;
    bool full = false;
    bool incremental = false;
    std::optional<std::string> since;
};

struct Result {
    std::string table;
    control::Counters counts = {};
    double seconds = 0;
    hosting::ExitCode code = hosting::kFailed;
    std::string cause = {};
};

constexpr const char* kWords[] = {"completed", "failed", "in use"};  // for the exit codes

std::vector<Integer> IdsOf(const control::TableCatalog& catalog, const CopyOptions& copy) {
    std::vector<Integer> ids;
    if (copy.all) {
        for (Integer id = 0; id < control::kAllTables; ++id)
            if (!catalog.GetTableName(id).empty()) ids.push_back(id);
        return ids;
    }
    for (const std::string& table : copy.tables) {
        Integer id = 0;
        while (id < control::kAllTables && !platform::EqualIgnoringCase(catalog.GetTableName(id), table))
            ++id;
        if (id == control::kAllTables || table.empty())
            throw UsageError("no table \"" + table + "\" in the catalog");
        ids.push_back(id);
    }
    return ids;
}

// The moment is stamped as it stands: the audit window begins at what the control table holds.
void SetLastUpdate(control::Process& process, const Options& options, const std::string& table,
                   const std::string& since) {
    const auto moment = platform::ParseIsoDate(since);
    if (!moment)
        platform::RaiseRuntimeError(platform::kTypeMismatch,
                                    "--since \"" + since + "\" is not YYYY-MM-DD [HH:MM:SS]");
    process.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
    if (!process.controlTables.IsTableInUse(table))  // the copy that holds it stamps it itself
        process.controlTables.SetTableLastUpdate(
            table, process.database.Literals().WrapDateLiteral(runtime::FormatIsoDateTime(*moment)));
    process.database.CloseDatabase();
}

Result CopyOne(control::Process& process, const Options& options, const CopyOptions& copy, Integer id) {
    Result result{.table = process.catalog.GetTableName(id)};
    const auto begin = std::chrono::steady_clock::now();
    if (copy.since) SetLastUpdate(process, options, result.table, *copy.since);
    control::CopyRequest request = RequestOf(options);
    request.tableId = id;
    request.syncMethod = copy.full ? control::kFull : control::kIncremental;
    hosting::clsDataCopyHandler handler(process);
    handler.HandleDataCopy(request);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.counts = handler.LastCounts();
    result.cause = process.runLog.FirstError();
    result.code = hosting::ExitCodeOf(result.cause, handler.LastOutcome());
    return result;
}

void ShowTable(const std::vector<Result>& results, std::ostream& out) {
    out << std::left << std::setw(10) << "table" << std::right << std::setw(10) << "inserted" << std::setw(10)
        << "updated" << std::setw(10) << "deleted" << std::setw(10) << "seconds"
        << "  outcome\n";
    for (const Result& result : results) {
        out << std::left << std::setw(10) << result.table << std::right << std::setw(10)
            << result.counts.inserted << std::setw(10) << result.counts.updated << std::setw(10)
            << result.counts.deleted << std::setw(10) << std::fixed << std::setprecision(2) << result.seconds
            << "  " << kWords[result.code];
        if (!result.cause.empty()) out << ": " << result.cause;
        out << '\n';
    }
    out.flush();
}

hosting::ExitCode Worst(const std::vector<Result>& results) {
    const auto any = [&](hosting::ExitCode code) {
        return std::ranges::find(results, code, &Result::code) != results.end();
    };
    if (any(hosting::kFailed)) return hosting::kFailed;
    return any(hosting::kTableInUse) ? hosting::kTableInUse : hosting::kCompleted;
}

std::string WhatIsWrongWithMoment(const std::string& text) {
    return platform::ParseIsoDate(text) ? "" : "\"" + text + "\" is not YYYY-MM-DD [HH:MM:SS]";
}

class CopyCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        CLI::Option* tables = command.add_option("tables", copy_.tables, "names of tables");
        command.add_flag("--all", copy_.all, "every table of the catalog")->excludes(tables);
        CLI::Option* full = command.add_flag("-f,--full", copy_.full, "copy everything the ERP holds");
        command
            .add_flag("-i,--incremental", copy_.incremental, "apply the audit trail since the last update")
            ->excludes(full);
        command.add_option("--since", copy_.since, "set the last update back to YYYY-MM-DD [HH:MM:SS] first")
            ->check(CLI::Validator(WhatIsWrongWithMoment, "MOMENT"))
            ->excludes(full);
    }

    void Check(const Options& options) const override {
        RequireConnection(options);
        if (copy_.tables.empty() && !copy_.all) throw CLI::RequiredError("TABLE... or --all");
        if (!copy_.full && !copy_.incremental) throw CLI::RequiredError("--full or --incremental");
    }

    ExitCode Run(const Workplace& place) override {
        hosting::Composition parts(place.surroundings);
        control::Ports ports = parts.Ports(place.talk);
        Progress progress(place.talk, isatty(STDERR_FILENO) != 0);
        CountingDatabase counting(ports.databases, progress);
        ports.databases = counting;
        control::Process process(ports);
        PrepareProcess(process, place.options);
        std::vector<Result> results;
        for (const Integer id : IdsOf(process.catalog, copy_)) {
            progress.Begin(process.catalog.GetTableName(id));
            results.push_back(CopyOne(process, place.options, copy_, id));
            progress.End(kWords[results.back().code]);
        }
        ShowTable(results, place.out);
        return static_cast<ExitCode>(Worst(results));
    }

private:
    CopyOptions copy_;
};

}  // namespace

std::unique_ptr<Command> MakeCopy() { return std::make_unique<CopyCommand>(); }

}  // namespace iqrx::qrxctl
