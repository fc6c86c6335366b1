#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "qrxctl/books.h"
#include "qrxctl/command.h"
#include "qrxctl/lines.h"
#include "qrxctl/reading.h"
#include "qrxctl/removed_rows.h"
#include "qrxctl/schema_script.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

using Json = nlohmann::ordered_json;

struct Counts {
    std::int64_t back = 0, left = 0;
};

// "10:40:32" of a run of today, with its day of any other; the run itself where its name is no moment.
std::string MomentOf(const std::string& run, platform::Date now) {
    std::string digits = run;
    std::erase(digits, '-');
    if (digits.size() < 14) return run;
    const auto part = [&](std::size_t from, std::size_t count) { return digits.substr(from, count); };
    const std::string day = part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2);
    const std::string time = part(8, 2) + ":" + part(10, 2) + ":" + part(12, 2);
    if (!platform::ParseIsoDate(day + " " + time)) return run;
    return day == platform::IsoDate(now) ? time : day + " " + time;
}

class Undoing : Workbench {
public:
    Undoing(const Workplace& workplace, const std::string& run)
        : Workbench(workplace, journal::Use::Writing), run_(run) {}

    ExitCode Run(const std::vector<std::string>& names) {
        const Options& options = place.options;
        if (!books.directory.IsUsable())  // the rows that it keeps may be of another database
            throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram,
                                         books.directory.Problem());
        PrepareProcess(process, options);
        schema_ = TablesOf(ReadScript(ScriptOf(options, process.machine.programFolder / "schema")));
        process.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
        ExitCode worst = kAllWell;
        for (const RemovedRowsFile& file : FilesOf(names)) worst = Worse(worst, Undo(file));
        process.database.CloseDatabase();
        if (options.json) place.out << Json{{"schema", 1}, {"run", run_}, {"tables", told_}}.dump() << '\n';
        return worst;
    }

private:
    std::vector<RemovedRowsFile> FilesOf(const std::vector<std::string>& names) {
        std::vector<RemovedRowsFile> files = RemovedRowsOf(books.directory.Undo(), run_);
        if (files.empty()) RefuseRun();
        if (names.empty()) return files;
        const std::vector<std::string> wanted = ChooseTables(TablesOf(process.catalog), names);
        for (const std::string& table : wanted)
            if (std::ranges::find(files, table, &RemovedRowsFile::table) == files.end())
                throw UsageError("run " + run_ + " removed no rows of " + table);
        std::erase_if(files, [&](const RemovedRowsFile& file) {
            return std::ranges::find(wanted, file.table) == wanted.end();
        });
        return files;
    }

    [[noreturn]] void RefuseRun() const {
        bool isKnown = false;
        books.history.ForEach([&](const journal::RunEntry& entry) {
            isKnown = entry.run == run_;
            return !isKnown;
        });
        throw UsageError(isKnown ? "run " + run_ + " removed no rows that were kept"
                                 : "no run " + platform::Printable(run_) + " has kept rows in " +
                                       platform::Shown(books.directory.Undo()));
    }

    ExitCode Undo(const RemovedRowsFile& file) {
        if (file.undone) {
            Tell(file.table, "undone before", {});
            Say(Fact("note", file.table, "the rows of run " + run_ + " were brought back before"));
            return kAllWell;
        }
        if (books.sheets.StateOf(file.table).holder == journal::Holder::Living) return Refuse(file.table);
        Counts counts;
        bool isInUse = false;
        // A copy that begins meanwhile waits for its turn to lock the table.
        process.database.RunExclusively([&] {
            counts = {};
            isInUse = process.controlTables.IsTableInUse(file.table);
            if (!isInUse) BringBack(file, counts);
        });
        if (isInUse) return Refuse(file.table);
        std::error_code failure;
        std::filesystem::rename(file.file, UndoneName(file.file), failure);
        if (failure)
            place.talk << Complaint(platform::Shown(file.file) + " cannot be renamed: " + failure.message())
                       << std::flush;
        TellOfRows(file.table, counts);
        return kAllWell;
    }

    void BringBack(const RemovedRowsFile& file, Counts& counts) {
        const TableText* table = FindTable(schema_, file.table);
        RemovedRowsReader rows(file);
        while (const auto statement = rows.Next()) {
            const std::string where = table ? rows.Row().WhereKey(table->key) : "";
            const std::string count = "SELECT count(*) FROM " + file.table + " WHERE " + where;
            if (!where.empty() && NumberFrom(process.database, count) > 0) {
                ++counts.left;
            } else {
                process.database.Execute(*statement);
                ++counts.back;
            }
        }
    }

    ExitCode Refuse(const std::string& table) {
        Tell(table, "in use", {});
        if (!place.options.json)
            place.out << Fact("stopped", table, "is locked: nothing was brought back")
                      << NextStep("qrxctl unlock " + table);
        return kTableInUse;
    }

    void TellOfRows(const std::string& table, const Counts& counts) {
        Tell(table, "ok", counts);
        Say(fmt::format("{:<10}{} brought back, as they were at {}\n", table, Counted(counts.back, "row"),
                        MomentOf(run_, process.machine.clock.Now())));
        if (counts.left > 0)
            Say(fmt::format("{:<10}{} there again and {} left alone\n", "",
                            counts.left == 1 ? "1 is" : Grouped(counts.left) + " are",
                            counts.left == 1 ? "was" : "were"));
    }

    void Tell(const std::string& table, const char* outcome, const Counts& counts) {
        told_.push_back(
            {{"table", table}, {"outcome", outcome}, {"brought_back", counts.back}, {"left_alone", counts.left}});
    }
    void Say(const std::string& line) {
        if (!place.options.quiet && !place.options.json) place.out << line;
    }

    const std::string& run_;
    std::vector<TableText> schema_;
    Json told_ = Json::array();
};

class UndoCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        command.add_option("run", run_, "the run that removed the rows; required");
        command.add_option("tables", tables_, "names of tables; none: all that the run removed rows of");
    }

    void Check(const Options& options) const override {
        RequireConnection(options);
        if (run_.empty()) throw CLI::RequiredError("RUN");
    }

    ExitCode Run(const Workplace& place) override { return Undoing(place, run_).Run(tables_); }

private:
    std::string run_;
    std::vector<std::string> tables_;
};

}  // namespace

std::unique_ptr<Command> MakeUndo() { return std::make_unique<UndoCommand>(); }

}  // namespace iqrx::qrxctl
