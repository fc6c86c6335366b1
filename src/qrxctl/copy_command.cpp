#include <algorithm>
#include <chrono>
#include <ostream>

#include "platform/date.h"
#include "platform/error.h"
#include "qrxctl/command.h"
#include "qrxctl/copy_crew.h"
#include "qrxctl/copy_report.h"
#include "qrxctl/lines.h"
#include "qrxctl/reading.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

// A wrong moment of the future would pass over every change until then.
void RefuseFuture(const CopyOptions& copy, platform::Date now) {
    if (copy.since && platform::ParseIsoDate(*copy.since)->secondsSince1970 > now.secondsSince1970)
        throw UsageError("--since " + *copy.since + " lies in the future");
}

// With options that say how the aim is reached behind it, but none that says from when on.
bool HasAim(const std::string& program, const std::string& aim) {
    if (!program.starts_with(aim)) return false;
    const std::string rest = program.substr(aim.size());
    return rest.empty() || (rest.front() == ' ' && !rest.starts_with(" --since "));
}

// The run that --resume goes on with: the last one that had this aim.
struct EarlierRun {
    std::string id;
    std::vector<std::string> done;
};

EarlierRun LastRun(const journal::History& history, const std::string& aim) {
    EarlierRun last;
    history.ForEach([&](const journal::RunEntry& entry) {
        if (!HasAim(entry.program, aim)) return true;
        if (entry.run != last.id) last = {entry.run, {}};
        if (entry.outcome == "ok") last.done.push_back(entry.table);
        return true;
    });
    return last;
}

class CopyCommand : public Command {
public:
    void AddOptions(CLI::App& command) override { copy_.AddTo(command); }
    void Check(const Options& options) const override { copy_.Check(options); }
    ExitCode Run(const Workplace& place) override;

private:
    ExitCode SayWhatWouldBeDone(const Workplace& place, const std::vector<std::string>& tables, Books& books,
                                platform::Date now) const;
    void LeaveOutWhatIsDone(const journal::History& history, std::vector<std::string>& tables,
                            CopyReport& report) const;
    void Show(const Workplace& place, const CopyReport& report, const std::string& at) const;

    CopyOptions copy_;
};

ExitCode CopyCommand::Run(const Workplace& place) {
    const auto stop = hosting::ListenForStop();
    Workplace watched = place;
    watched.surroundings.stop = stop.get();
    hosting::Composition parts(watched.surroundings);
    const platform::Date now = parts.Machine().clock.Now();
    RefuseFuture(copy_, now);
    const std::vector<std::string> known = CatalogTables(parts, place.options);
    std::vector<std::string> tables = copy_.all ? known : ChooseTables(known, copy_.tables);
    Books books(parts, place.options, copy_.dryRun ? journal::Use::Reading : journal::Use::Writing);
    CopyReport report{.run = {}, .resume = copy_.CommandLine() + " --resume"};
    if (copy_.resume) LeaveOutWhatIsDone(books.history, tables, report);
    if (copy_.dryRun) return SayWhatWouldBeDone(place, tables, books, now);
    if (report.run.empty()) report.run = books.history.NewRunId(now);
    const CopyRun run{watched, copy_, books, report.run};
    const auto begin = std::chrono::steady_clock::now();
    Copy(run, tables, report);
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    Show(place, report, Now(parts));
    if (const std::string problem = books.directory.Problem(); !problem.empty())
        place.talk << NoteOf("state", problem);
    return CodeOf(report);
}

void CopyCommand::LeaveOutWhatIsDone(const journal::History& history, std::vector<std::string>& tables,
                                     CopyReport& report) const {
    EarlierRun earlier = LastRun(history, copy_.Aim());
    std::erase_if(tables, [&](const auto& table) { return std::ranges::count(earlier.done, table) > 0; });
    report.run = earlier.id;
    report.doneBefore = std::move(earlier.done);
}

void CopyCommand::Show(const Workplace& place, const CopyReport& report, const std::string& at) const {
    if (place.options.json) {
        place.out << JsonOf(report, at) << std::endl;
        return;
    }
    if (!report.doneBefore.empty() && !place.options.quiet)
        place.out << Fact("note", "resumed",
                          Counted(static_cast<std::int64_t>(report.doneBefore.size()), "table") + " of run " +
                              report.run + " had been copied");
    if (!place.options.quiet) ShowClosingTable(report, place.out);
    std::ostringstream troubles;
    ShowTroubles(report, troubles);
    if (troubles.str().empty()) return;
    if (!place.options.quiet) place.out << '\n';
    place.out << troubles.str() << std::flush;
}

ExitCode CopyCommand::SayWhatWouldBeDone(const Workplace& place, const std::vector<std::string>& tables,
                                         Books& books, platform::Date now) const {
    for (const std::string& table : tables) {
        std::string text = copy_.full ? "everything" : "changes since the control table's last update";
        if (!copy_.full && copy_.since)
            text = "changes since " + *copy_.since;
        else if (!copy_.full)
            if (const auto from = WindowBegin(copy_, books.ledger, table, books.ledger.BeginAt(now)))
                text = "changes since " + platform::IsoDateTime(*from);
        if (books.sheets.StateOf(table).holder == journal::Holder::Living) text += "; is being copied now";
        if (place.options.json)
            place.out << JsonOfIntent(table, copy_.Method(), text) << '\n';
        else
            place.out << Fact("would", table, "copy " + text);
    }
    return kAllWell;
}

}  // namespace

std::unique_ptr<Command> MakeCopy() { return std::make_unique<CopyCommand>(); }

}  // namespace iqrx::qrxctl
