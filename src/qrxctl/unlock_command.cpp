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
#include "qrxctl/table_choice.h"
#include "runtime/trim.h"

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

std::string Detail(std::string_view word, std::string_view text) {
    constexpr std::size_t kWidth = 10;
    return fmt::format("{:<{}}{}\n", word, kWidth, Wrapped(text, kWidth));
}

// Whether somebody reads the question and can type the answer.
bool CanAsk() { return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0; }

// The line that is typed, without the blanks around it; empty at the end of the input.
std::string Ask(std::ostream& talk, const std::string& question) {
    talk << question << ' ' << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer.ends_with('\r')) answer.pop_back();
    return std::string(runtime::Trim(answer));
}

bool AskYesOrNo(std::ostream& talk, const std::string& question) {
    const std::string answer = Ask(talk, question + " [y/N]");
    return platform::EqualIgnoringCase(answer, "y") || platform::EqualIgnoringCase(answer, "yes");
}

// One command's work on one table after the other.
class Unlocking {
public:
    Unlocking(const Workplace& place, const UnlockOptions& wanted)
        : place_(place),
          wanted_(wanted),
          parts_(place.surroundings),
          ports_(PlainPorts()),
          process_(ports_),
          books_(parts_, place.options, journal::Use::Writing) {}

    ExitCode Run() {
        const Options& options = place_.options;
        PrepareProcess(process_, options);
        if (const std::string problem = books_.directory.Problem(); !problem.empty())
            place_.talk << NoteOf("state", problem) << std::flush;
        process_.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
        const auto tables =
            wanted_.all ? LockedTables() : ChooseTables(TablesOf(process_.catalog), wanted_.tables);
        ExitCode worst = kAllWell;
        for (const std::string& table : tables) worst = Worse(worst, Unlock(table));
        if (tables.empty()) Say(Fact("ok", "lock", "no table is locked"));
        process_.database.CloseDatabase();
        if (options.json) place_.out << Json{{"schema", 1}, {"tables", told_}}.dump() << '\n';
        return worst;
    }

private:
    control::Ports PlainPorts() {
        control::Ports ports = parts_.Ports(place_.talk);
        ports.databases = parts_.PlainDatabases();
        return ports;
    }

    std::vector<std::string> LockedTables() {
        std::vector<std::string> tables = TablesOf(process_.catalog);
        std::erase_if(
            tables, [this](const std::string& table) { return !process_.controlTables.IsTableInUse(table); });
        return tables;
    }

    ExitCode Unlock(const std::string& table) {
        const SheetState state = books_.sheets.StateOf(table);
        if (!process_.controlTables.IsTableInUse(table)) {
            Tell(table, "not locked", state);
            Say(Fact("ok", table, "is not locked"));
            return kAllWell;
        }
        switch (state.holder) {
            case Holder::Living:
                return TellOfLiving(table, state);
            case Holder::Dead:
                return UnlockProved(table, state);
            default:
                return UnlockUnproved(table, state);
        }
    }

    ExitCode TellOfLiving(const std::string& table, const SheetState& state) {
        const std::string far = HowFar(state, Moment());
        const bool onWindows = ports_.machine.pathSeparator == '\\';
        Tell(table, "being copied", state);
        Warn(Fact("stopped", table,
                  fmt::format("is being copied now by pid {}{}", state.sheet.by.pid,
                              far.empty() ? "" : " (" + far + ")")) +
             NextStep(fmt::format("wait, or: {} {}", onWindows ? "taskkill /pid" : "kill", state.sheet.by.pid)));
        return kTableInUse;
    }

    ExitCode UnlockProved(const std::string& table, const SheetState& state) {
        const RowsLeft left = RowsLeftOf(process_.database, table);
        std::string facts =
            Detail(table, LockedSince(state.sheet, Moment())) +
            Detail("by", HolderText(state.sheet, books_.directory.Host())) +
            Detail("proof", fmt::format("no process holds the run sheet; pid {} is gone", state.sheet.by.pid));
        facts += Detail(
            "left", fmt::format("{} of {} rows unconfirmed{}", Grouped(left.unconfirmed), Grouped(left.all),
                                left.unconfirmed > 0 ? ", nothing was removed" : ""));
        Say(facts);
        if (wanted_.yes || wanted_.force) return Release(table, state);
        if (!MayAsk()) return Leave(table, state, "--yes");
        return AskYesOrNo(place_.talk, "Release it?") ? Release(table, state) : Keep(table, state);
    }

    ExitCode UnlockUnproved(const std::string& table, const SheetState& state) {
        const std::string proof = WithoutProof(state, LastSign(state.sign, Moment()));
        if (wanted_.all) {
            Tell(table, "kept", state);
            Warn(Fact("note", table, proof + "; it stays locked") + NextStep("qrxctl unlock " + table));
            return kFailed;
        }
        if (!wanted_.force) Warn(Fact("note", table, proof));
        if (wanted_.force) return Release(table, state);
        if (!MayAsk()) return Leave(table, state, "--force");
        const std::string typed = Ask(place_.talk, "Release it all the same? Type " + table + ":");
        return typed == table ? Release(table, state) : Keep(table, state);
    }

    // The run sheet is held meanwhile, so that no copy begins between the last look and the release.
    ExitCode Release(const std::string& table, const SheetState& asked) {
        journal::SheetText own;
        own.table = table;
        own.program = "qrxctl unlock " + table;
        own.since = Now(parts_);
        own.by = books_.directory.Host().Self();
        journal::TakenSheet taken = books_.sheets.Take(own);
        if (taken.InUse()) return TellOfLiving(table, taken.found);
        try {
            process_.controlTables.UnlockTable(table);
            process_.database.Commit();
        } catch (...) {
            if (taken.sheet) taken.sheet->PutBack();
            throw;
        }
        Tell(table, "released", asked);
        const bool incremental = asked.sheet.method == "incremental";
        Say(Fact("ok", table,
                 fmt::format("released -> qrxctl copy {} {}", table, incremental ? "--incremental" : "--full")));
        return kAllWell;
    }

    ExitCode Leave(const std::string& table, const SheetState& state, const std::string& missing) {
        Tell(table, "kept", state);
        Warn(Fact("stopped", table, "nothing was done: there is no terminal to ask at") +
             NextStep("qrxctl unlock " + table + " " + missing));
        return kFailed;
    }

    ExitCode Keep(const std::string& table, const SheetState& state) {
        Tell(table, "kept", state);
        Warn(Fact("note", table, "stays locked; nothing was done"));
        return kFailed;
    }

    bool MayAsk() const { return !place_.options.json && CanAsk(); }

    journal::Timestamp Moment() {
        return {ports_.machine.clock.Now(), books_.directory.Host().UtcOffsetMinutes()};
    }

    void Tell(const std::string& table, const char* outcome, const SheetState& state) {
        Json line{{"table", table}, {"outcome", outcome}};
        if (state.holder != Holder::Nobody)
            line["holder"] = Json{{"program", state.sheet.program}, {"pid", state.sheet.by.pid},
                                  {"user", state.sheet.by.user},    {"host", state.sheet.by.host},
                                  {"since", state.sheet.since},     {"run", state.sheet.run}};
        told_.push_back(std::move(line));
    }
    void Say(const std::string& lines) {
        if (!place_.options.quiet) Warn(lines);
    }
    void Warn(const std::string& lines) {
        if (!place_.options.json) place_.out << lines << std::flush;
    }

    const Workplace& place_;
    const UnlockOptions& wanted_;
    hosting::Composition parts_;
    control::Ports ports_;
    control::Process process_;
    Books books_;
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
