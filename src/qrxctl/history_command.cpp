#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>
#include <set>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/text.h"
#include "qrxctl/books.h"
#include "qrxctl/command.h"
#include "qrxctl/history_output.h"
#include "qrxctl/lines.h"
#include "qrxctl/moments.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

bool IsFailure(const journal::RunEntry& entry) { return entry.outcome != "ok" && entry.outcome != "in use"; }

// "20261121-104032", "20261121-104032-2".
bool IsRunId(const std::string& word) {
    constexpr std::string_view kForm = "00000000-000000";
    return platform::HasForm(std::string_view(word).substr(0, kForm.size()), kForm) &&
           word.find_first_not_of("0123456789-", kForm.size()) == std::string::npos;
}

class HistoryCommand : public Command {
public:
    void AddOptions(CLI::App& command) override {
        command.add_option("tables", words_,
                           "names, patterns (tssoc*) or groups; or a run, of which everything is shown");
        command.add_flag("--failed", failedOnly_, "only what did not go well");
        command.add_option("--since", since_, "only what ended in the last 7d, or since YYYY-MM-DD")
            ->check(SpanOrDateText());
        command
            .add_option("--prune", prune_, "remove runs, run logs and undo files older than 400d, or than a day")
            ->check(SpanOrDateText());
    }

    void Check(const Options& options) const override {
        if (options.stateDirectory.empty()) RequireConnection(options);
        if (!prune_.empty() && (!words_.empty() || failedOnly_ || !since_.empty()))
            throw CLI::ValidationError("--prune takes no tables and excludes --failed and --since");
        if (words_.size() > 1 && std::ranges::any_of(words_, IsRunId))
            throw CLI::ValidationError("one run at a time");
    }

    ExitCode Run(const Workplace& place) override {
        hosting::Composition parts(place.surroundings);
        const journal::Timestamp now = Moment(parts);
        if (!prune_.empty()) return PruneOld(parts, place, now);
        Books books(parts, place.options, journal::Use::Reading);
        if (!words_.empty() && IsRunId(words_.front())) return ShowRun(parts, books, place);
        return ShowRuns(parts, books, place, now);
    }

private:
    static journal::Timestamp MomentOf(const std::string& text, hosting::Composition& parts,
                                       const journal::Timestamp& now) {
        if (const auto day = platform::ParseIsoDate(text)) return AtLocal(parts.Host(), *day);
        const platform::Date then{now.local.secondsSince1970 - ParseSpan(text).value_or(0)};
        return {then, now.offsetMinutes};
    }

    ExitCode PruneOld(hosting::Composition& parts, const Workplace& place, const journal::Timestamp& now) const {
        const Options& options = place.options;
        const journal::Timestamp before = MomentOf(prune_, parts, now);
        if (before.Utc() > now.Utc()) throw UsageError("--prune " + prune_ + " lies in the future");
        Books books(parts, options, journal::Use::Writing);
        const std::string logs =
            options.logDirectory.empty() ? parts.Machine().blankDirectory : options.logDirectory;
        const Pruned pruned = Prune(books, before, platform::Path(logs));
        if (options.json)
            place.out << PrunedJson(pruned);
        else if (!options.quiet)
            place.out << PrunedText(pruned);
        for (const std::string& problem : pruned.problems) place.talk << Fact("failed", "files", problem);
        return pruned.problems.empty() ? kAllWell : kFailed;
    }

    static ExitCode ShowDamage(const Books& books, const journal::Damage& damage, const Workplace& place) {
        if (damage.lines > 0)
            place.talk << DamageLine(platform::Utf8(books.directory.HistoryFile()), damage) << std::flush;
        return kAllWell;
    }

    ExitCode ShowRun(hosting::Composition& parts, const Books& books, const Workplace& place) const {
        std::vector<journal::RunEntry> entries;
        const journal::Damage damage = books.history.ForEach([&](const journal::RunEntry& entry) {
            if (entry.run == words_.front()) entries.push_back(entry);
            return true;
        });
        if (entries.empty()) throw UsageError("there is no run " + words_.front() + " in the history");
        platform::Machine machine = parts.Machine();
        place.out << (place.options.json ? HistoryJson(entries, damage)
                                         : RunText(entries, machine, place.options.logDirectory))
                  << std::flush;
        return ShowDamage(books, damage, place);
    }

    // Empty: every table.
    std::set<std::string> WantedTables(const std::vector<journal::RunEntry>& entries) const {
        if (words_.empty()) return {};
        std::vector<std::string> known = TablesWithACopy();
        for (const journal::RunEntry& entry : entries)
            if (std::ranges::find(known, entry.table) == known.end()) known.push_back(entry.table);
        const auto chosen = ChooseTables(known, words_);
        return {chosen.begin(), chosen.end()};
    }

    ExitCode ShowRuns(hosting::Composition& parts, const Books& books, const Workplace& place,
                      const journal::Timestamp& now) const {
        std::optional<journal::Timestamp> since;
        if (!since_.empty()) since = MomentOf(since_, parts, now);
        std::vector<journal::RunEntry> entries;
        const journal::Damage damage = books.history.ForEach([&](const journal::RunEntry& entry) {
            if (IsWanted(entry, since, place.options.quiet)) entries.push_back(entry);
            return true;
        });
        if (const auto tables = WantedTables(entries); !tables.empty())
            std::erase_if(entries,
                          [&](const journal::RunEntry& entry) { return !tables.contains(entry.table); });
        std::ranges::reverse(entries);
        if (place.options.json)
            place.out << HistoryJson(entries, damage);
        else
            place.out << HistoryTable(entries);
        place.out << std::flush;
        if (entries.empty() && !place.options.json && !place.options.quiet)
            place.talk << Wrapped("no such run in " + platform::Utf8(books.directory.HistoryFile()), 0)
                       << std::endl;
        return ShowDamage(books, damage, place);
    }

    bool IsWanted(const journal::RunEntry& entry, const std::optional<journal::Timestamp>& since,
                  bool quiet) const {
        if ((failedOnly_ || quiet) && !IsFailure(entry)) return false;
        if (!since) return true;
        const auto ended = journal::ParseRfc3339(entry.ended);
        return ended && ended->Utc() >= since->Utc();
    }

    std::vector<std::string> words_;
    bool failedOnly_ = false;
    std::string since_, prune_;
};

}  // namespace

std::unique_ptr<Command> MakeHistory() { return std::make_unique<HistoryCommand>(); }

}  // namespace iqrx::qrxctl
