#include "qrxctl/copy_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "platform/date.h"
#include "platform/text.h"
#include "qrxctl/help.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

using platform::watch::RemovalLimit;

std::string WhatIsWrongWithMoment(const std::string& text) {
    return platform::ParseIsoDate(text) ? "" : "\"" + text + "\" is not YYYY-MM-DD [HH:MM:SS]";
}

RemovalLimit LimitOf(const std::string& text, const std::string& place) {
    const auto limit = RemovalLimit::Parse(text);
    if (!limit)
        throw CLI::ValidationError(place + ": \"" + text + "\" is not a share (10%), a number of rows or any");
    return *limit;
}

// Whoever misspells it would believe that the table's limit holds.
void RequireTable(const std::string& name) {
    const std::vector<std::string> known = TablesWithACopy();
    if (std::ranges::count(known, name) > 0) return;
    const std::string nearest = Nearest(name, known);
    throw CLI::ValidationError("[guard] " + name + ": no table has this name" +
                               (nearest.empty() ? "" : "; did you mean " + nearest + "?"));
}

}  // namespace

void CopyOptions::AddTo(CLI::App& command) {
    constexpr int kMostJobs = 64;
    CLI::Option* named = command.add_option(
        "tables", tables, "names, patterns (tssoc*) and groups (master, configuration, orders, calendars)");
    command.add_flag("--all", all, "every table of the catalog")->excludes(named);
    CLI::Option* wantsFull = command.add_flag("-f,--full", full, "copy everything the ERP holds");
    CLI::Option* wantsChanges =
        command.add_flag("-i,--incremental", incremental, "apply the audit trail since the last update")
            ->excludes(wantsFull);
    CLI::Option* from =
        command.add_option("--since", since, "read the trail from YYYY-MM-DD [HH:MM:SS] on instead")
            ->check(CLI::Validator(WhatIsWrongWithMoment, "MOMENT"))
            ->excludes(wantsFull);
    command.add_flag("--fill-gaps", fillGaps, "read the trail from its first gap on")
        ->excludes(wantsFull)
        ->excludes(from);
    command.add_option("--max-removed", maxRemoved,
                       "how much a copy may remove: 10%, 37 (rows) or any; otherwise the larger of 10 % and "
                       "20 rows, and never all");
    command.add_option("-j,--jobs", jobs, "tables at once")->check(CLI::Range(1, kMostJobs))->capture_default_str();
    command.add_flag("-n,--dry-run", dryRun, "say what would be asked for, and do nothing");
    command.add_flag("--resume", resume, "leave out what the run before has copied");
    command.add_flag("--no-takeover", noTakeover, "leave a lock whose process is gone to qrxctl unlock");
    command.add_option("--then-full", thenFull, "blanked: copy in full the tables whose rows it left blank")
        ->check(CLI::IsMember({"blanked"}))
        ->needs(wantsChanges);
}

void CopyOptions::Check(const Options& options) const {
    RequireConnection(options);
    if (tables.empty() && !all) throw CLI::RequiredError("TABLE... or --all");
    if (!full && !incremental && !fillGaps) throw CLI::RequiredError("--full or --incremental");
    Limits(options);
}

platform::watch::RemovalLimits CopyOptions::Limits(const Options& options) const {
    platform::watch::RemovalLimits limits;
    if (!maxRemoved.empty()) limits.all = LimitOf(maxRemoved, "--max-removed");
    for (const auto& [table, text] : options.guard) {
        RequireTable(platform::Lower(table));
        limits.ofTable[platform::Lower(table)] = LimitOf(text, "[guard] " + table);
    }
    return limits;
}

std::string CopyOptions::Aim() const {
    std::string line = "qrxctl copy";
    if (all) line += " --all";
    for (const std::string& table : tables) line += " " + table;
    line += full ? " --full" : fillGaps ? " --fill-gaps" : " --incremental";
    if (since) line += " --since \"" + *since + "\"";
    return line;
}

std::string CopyOptions::CommandLine() const {
    std::string line = Aim();
    if (!maxRemoved.empty()) line += " --max-removed " + maxRemoved;
    if (!thenFull.empty()) line += " --then-full " + thenFull;
    if (noTakeover) line += " --no-takeover";
    if (jobs > 1) line += " --jobs " + std::to_string(jobs);
    return line;
}

}  // namespace iqrx::qrxctl
