#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <nlohmann/json.hpp>

#include "platform/text.h"
#include "qrxctl/books.h"
#include "qrxctl/command.h"
#include "qrxctl/lines.h"
#include "qrxctl/locked_table.h"
#include "qrxctl/reading.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

using journal::Holder;
using journal::SheetState;
using Json = nlohmann::ordered_json;

struct UnlockOptions {
    std::vector<std::string> tables;
    bool all = false;
    bool yes = false;
    bool force = false;
};

// Whether somebody reads the question and can type the answer.
bool CanAsk() { return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0; }

// The line that is typed, without the blanks around it; empty at the end of the input.
std::string Ask(std::ostream& talk, const std::string& question) {
    talk << question << ' ' << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer.ends_with('\r')) answer.pop_back();
    return std::string(platform::Trim(answer, " "));
}

bool AskYesOrNo(std::ostream& talk, const std::string& question) {
    const std::string answer = Ask(talk, question + " [y/N]");
    return platform::EqualIgnoringCase(answer, "y") || platform::EqualIgnoringCase(answer, "yes");
}

// One command's work on one table after the other.
class Unlocking : Workbench {
public:
    Unlocking(const Workplace& workplace, const UnlockOptions& wanted)
        : Workbench(workplace, journal::Use::Writing), wanted_(wanted) {}

    ExitCode Run() {
        const Options& options = place.options;
        PrepareProcess(process, options);
        if (const std::string problem = books.directory.Problem(); !problem.empty())
            place.talk << NoteOf("state", problem) << std::flush;
        process.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
        const auto tables =
            wanted_.all ? LockedTables() : ChooseTables(TablesOf(process.catalog), wanted_.tables);
        ExitCode worst = kAllWell;
        for (const std::string& table : tables) worst = Worse(worst, Unlock(table));
        if (tables.empty()) Say(Fact("ok", "lock", "no table is locked"));
        process.database.CloseDatabase();
        if (options.json) place.out << Json{{"schema", 1}, {"tables", told_}}.dump() << '\n';
        return worst;
    }

private:
    std::vector<std::string> LockedTables() {
        std::vector<std::string> tables = TablesOf(process.catalog);
        std::erase_if(
            tables, [this](const std::string& table) { return !process.controlTables.IsTableInUse(table); });
        return tables;
    }

    ExitCode Unlock(const std::string& table) {
        const SheetState state = books.sheets.StateOf(table);
        if (!process.controlTables.IsTableInUse(table)) {
            Tell(table, "not locked", state);
            Say(Fact("ok", table, "is not locked"));
            return kAllWell;
        }
        if (state.holder == Holder::Living) return TellOfLiving(table, state);
        return state.holder == Holder::Dead ? UnlockProved(table, state) : UnlockUnproved(table, state);
    }

    ExitCode TellOfLiving(const std::string& table, const SheetState& state) {
        const std::string far = HowFar(state, Moment(parts));
        const bool onWindows = process.machine.pathSeparator == '\\';
        Tell(table, "being copied", state);
        Warn(Fact("stopped", table,
                  fmt::format("is being copied now by pid {}{}", state.sheet.by.pid,
                              far.empty() ? "" : " (" + far + ")")) +
             NextStep(fmt::format("wait, or: {} {}", onWindows ? "taskkill /pid" : "kill", state.sheet.by.pid)));
        return kTableInUse;
    }

    ExitCode UnlockProved(const std::string& table, const SheetState& state) {
        const std::int64_t unconfirmed = NumberFrom(process.database, kUnconfirmedCount.On(table)),
                           all = NumberFrom(process.database, kRowCount.On(table));
        std::string facts =
            Detail(table, LockedSince(state.sheet, Moment(parts))) +
            Detail("by", HolderText(state.sheet, parts.Host())) +
            Detail("proof", fmt::format("no process holds the run sheet; pid {} is gone", state.sheet.by.pid));
        facts += Detail("left", fmt::format("{} of {} rows unconfirmed{}", Grouped(unconfirmed), Grouped(all),
                                            unconfirmed > 0 ? ", nothing was removed" : ""));
        Say(facts);
        if (wanted_.yes || wanted_.force) return Release(table, state);
        if (!MayAsk()) return Leave(table, state, "--yes");
        return ReleaseIf(AskYesOrNo(place.talk, "Release it?"), table, state);
    }

    ExitCode UnlockUnproved(const std::string& table, const SheetState& state) {
        const std::string proof = WithoutProof(state, LastSign(state.sign, Moment(parts)));
        if (wanted_.all)
            return Keep(table, state,
                        Fact("note", table, proof + "; it stays locked") + NextStep("qrxctl unlock " + table));
        if (!wanted_.force) Warn(Fact("note", table, proof));
        if (wanted_.force) return Release(table, state);
        if (!MayAsk()) return Leave(table, state, "--force");
        const std::string typed = Ask(place.talk, "Release it all the same? Type " + table + ":");
        return ReleaseIf(typed == table, table, state);
    }

    // The run sheet is held meanwhile, so that no copy begins between the last look and the release.
    ExitCode Release(const std::string& table, const SheetState& asked) {
        journal::SheetText own;
        own.table = table;
        own.program = "qrxctl unlock " + table;
        own.since = Now(parts);
        own.by = parts.Host().Self();
        journal::TakenSheet taken = books.sheets.Take(own);
        // Who cannot hold the sheet looks at it once more: the question may have stood for long.
        const SheetState now = taken.sheet ? taken.found : books.sheets.StateOf(table);
        if (now.holder == Holder::Living) return TellOfLiving(table, now);
        process.controlTables.UnlockTable(table);
        process.database.Commit();
        if (taken.sheet) taken.sheet->LockIsFree();
        Tell(table, "released", asked);
        const bool incremental = asked.sheet.method == "incremental";
        Say(Fact("ok", table,
                 fmt::format("released -> qrxctl copy {} {}", table, incremental ? "--incremental" : "--full")));
        return kAllWell;
    }

    ExitCode Leave(const std::string& table, const SheetState& state, const std::string& missing) {
        return Keep(table, state,
                    Fact("stopped", table, "nothing was done: there is no terminal to ask at") +
                        NextStep("qrxctl unlock " + table + " " + missing));
    }

    ExitCode Keep(const std::string& table, const SheetState& state, const std::string& why) {
        Tell(table, "kept", state);
        Warn(why);
        return kFailed;
    }

    ExitCode ReleaseIf(bool wanted, const std::string& table, const SheetState& state) {
        if (wanted) return Release(table, state);
        return Keep(table, state, Fact("note", table, "stays locked; nothing was done"));
    }

    bool MayAsk() const { return !place.options.json && CanAsk(); }

    void Tell(const std::string& table, const char* outcome, const SheetState& state) {
        Json line{{"table", table}, {"outcome", outcome}};
        if (state.holder != Holder::Nobody)
            line["holder"] = Json{{"program", state.sheet.program}, {"pid", state.sheet.by.pid},
                                  {"user", state.sheet.by.user},    {"host", state.sheet.by.host},
                                  {"since", state.sheet.since},     {"run", state.sheet.run}};
        told_.push_back(std::move(line));
    }
    void Say(const std::string& lines) {
        if (!place.options.quiet) Warn(lines);
    }
    void Warn(const std::string& lines) {
        if (!place.options.json) place.out << lines << std::flush;
    }

    const UnlockOptions& wanted_;
    Json told_ = Json::array();
};

class UnlockCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        CLI::Option* tables = command.add_option("tables", wanted_.tables, "names of tables");
        command.add_flag("--all", wanted_.all, "every locked table whose copy is proved to have ended")
            ->excludes(tables);
        command.add_flag("--yes", wanted_.yes, "release without asking where the end of the copy is proved");
        command.add_flag("--force", wanted_.force, "release a table even though nothing proves that");
    }

    void Check(const Options& options) const override {
        RequireConnection(options);
        if (wanted_.tables.empty() && !wanted_.all) throw CLI::RequiredError("TABLE... or --all");
    }

    ExitCode Run(const Workplace& place) override { return Unlocking(place, wanted_).Run(); }

private:
    UnlockOptions wanted_;
};

}  // namespace

std::unique_ptr<Command> MakeUnlock() { return std::make_unique<UnlockCommand>(); }

}  // namespace iqrx::qrxctl
