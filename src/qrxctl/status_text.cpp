#include <fmt/format.h>

#include <algorithm>

#include "qrxctl/lines.h"
#include "qrxctl/moments.h"
#include "qrxctl/status_output.h"

namespace iqrx::qrxctl {

namespace {

// As the control table has it: of a table that no run is known of.
bool HasLastUpdateOnly(const TableStatus& status) { return !status.lastCopy && status.lastUpdate; }

std::string LastCopy(const TableStatus& status, const journal::Timestamp& now) {
    constexpr std::size_t kOfToday = std::string_view("10:50").size();
    if (const auto began = BeganAt(status.lastCopy)) {
        const std::string moment = ShortMoment(InZoneOf(*began, now), now.local),
                          &method = status.lastCopy->method;
        return moment + " " + (method == "incremental" && moment.size() > kOfToday ? "incr." : method);
    }
    return HasLastUpdateOnly(status) ? ShortMoment(*status.lastUpdate, now.local) + " ?" : "-";
}

std::string Rows(const TableStatus& status) {
    if (!status.rows || !status.problem.empty()) return "-";
    return (status.isCounted ? "" : status.isMore ? ">" : "~") + Grouped(*status.rows);
}

std::string AgeText(const TableStatus& status, const journal::Timestamp& now) {
    const auto age = Age(status, now);
    if (!age || *age < 0) return "-";
    const bool isSure = !HasLastUpdateOnly(status) || now.offsetMinutes == 0;
    return Duration(*age) + (isSure ? "" : "?");
}

std::string Line(const std::string& table, const std::string& rows, const std::string& lastCopy,
                 const std::string& age, const std::string& readTo, const std::string& state) {
    return fmt::format("{:<9} {:<10} {:<17} {:>6}  {:<13} {}\n", table, rows, lastCopy, age, readTo, state);
}

std::string Line(const Judgement& judgement, const journal::Timestamp& now) {
    const TableStatus& status = *judgement.status;
    return Line(status.table, Rows(status), LastCopy(status, now), AgeText(status, now),
                status.read ? ShortMoment(status.read->readTo, now.local) : "-", judgement.State(now));
}

std::string Summary(const std::vector<Judgement>& judgements) {
    std::size_t wrong = 0, note = 0;
    for (const Judgement& judgement : judgements)
        if (judgement.IsWrong())
            ++wrong;
        else if (!judgement.findings.empty())
            ++note;
    return fmt::format("{} ok, {} note, {} wrong\n", judgements.size() - wrong - note, note, wrong);
}

// A table that is being copied, as its holder tells of it.
std::string Copying(const TableStatus& status, const journal::Timestamp& now) {
    std::string text;
    if (status.sign)
        text =
            fmt::format("{}, {}/s, ", Counted(status.sign->rows, "row"), Grouped(RowsPerSecond(*status.sign)));
    if (const auto seconds = SecondsHeld(status, now)) text += Duration(*seconds) + ", ";
    const long pid = status.holder.by.pid;  // 0: the disk was full, and the sheet is empty
    return Fact("copying", status.table, text + (pid > 0 ? fmt::format("by pid {}", pid) : "by a process"));
}

std::string Legend(const Overview& overview) {
    std::string legend;
    if (std::ranges::any_of(overview.tables, [](const TableStatus& status) { return Rows(status)[0] == '~'; }))
        legend += Wrapped("~  as the last run left them; qrxctl status --count counts them", 3) + '\n';
    if (std::ranges::any_of(overview.tables, &TableStatus::isMore))
        legend += ">  more than that; qrxctl status --count counts them\n";
    if (std::ranges::any_of(overview.tables, HasLastUpdateOnly))
        legend += Wrapped(
                      "?  no run in the history: the last update of the control table, which is local time "
                      "after a full copy and UTC after an incremental one",
                      3) +
                  '\n';
    return legend;
}

}  // namespace

std::string StatusText(const Overview& overview, const std::vector<Judgement>& judgements, bool runningFirst) {
    std::vector<const Judgement*> order;
    order.reserve(judgements.size());
    for (const Judgement& judgement : judgements) order.push_back(&judgement);
    if (runningFirst)
        std::stable_partition(order.begin(), order.end(), [](const Judgement* judgement) {
            return judgement->status->lock == Lock::Copying;
        });
    std::string text = fmt::format("{}  {} ({})\n", overview.database, Minute(overview.now.local),
                                   ZoneName(overview.now.offsetMinutes));
    for (const Judgement& judgement : judgements)
        if (judgement.status->lock == Lock::Copying) text += Copying(*judgement.status, overview.now);
    text += Line("table", "rows", "last copy", "age", "trail read to", "state");
    for (const Judgement* judgement : order) text += Line(*judgement, overview.now);
    return text + Legend(overview) + Summary(judgements) + FindingLines(overview, judgements, false);
}

std::string ReadText(const Overview& overview) {
    std::string text;
    for (const TableStatus& status : overview.tables) {
        const std::string head = fmt::format("{:<9} ", status.table), below(head.size(), ' ');
        if (!status.read) {
            text += head + "-     nothing was noted of its trail\n";
            continue;
        }
        std::string from = "................", lead = head;  // nobody knows when the first copy was
        for (const journal::Stretch& gap : status.read->gaps) {
            text += fmt::format("{}read  {} ........ {}\n", lead, from, Minute(gap.from));
            text += fmt::format("{}GAP   {} - {}   {}\n", below, Minute(gap.from), Minute(gap.to),
                                Duration(gap.to.secondsSince1970 - gap.from.secondsSince1970));
            from = Minute(gap.to);
            lead = below;
        }
        text += fmt::format("{}read  {} ........ {}\n", lead, from, Minute(status.read->readTo));
        if (!status.read->gaps.empty()) text += NextStep("qrxctl copy " + status.table + " --fill-gaps");
    }
    return text;
}

}  // namespace iqrx::qrxctl
