#include "qrxctl/status_findings.h"

#include <fmt/format.h>

#include <algorithm>

#include "qrxctl/books.h"
#include "qrxctl/lines.h"
#include "qrxctl/locked_table.h"
#include "qrxctl/moments.h"
#include "qrxctl/table_choice.h"

namespace iqrx::qrxctl {

namespace {

using enum Finding::Word;
using Findings = std::vector<Finding>;

constexpr std::int64_t kClocksDiffer = 120;  // seconds

// What the last update is at the most, local or UTC: later than that it lies in the future.
std::int64_t SecondsAhead(const TableStatus& status, const journal::Timestamp& now) {
    if (!status.lastUpdate) return 0;
    return status.lastUpdate->secondsSince1970 -
           std::max(now.local.secondsSince1970, now.Utc().secondsSince1970);
}

void FindFuture(const TableStatus& status, const journal::Timestamp& now, Findings& findings) {
    if (SecondsAhead(status, now) > kClocksDiffer)
        findings.push_back({Wrong, "in the future",
                            "last update " + Minute(*status.lastUpdate) +
                                " lies in the future: the service reads no change before it",
                            "qrxctl copy {} --full", kStale});
    const auto copied = BeganAt(status.lastCopy);
    if (copied && SecondsBetween(*copied, now) < -kClocksDiffer)
        findings.push_back(
            {Wrong, "in the future",
             "last copy " + Minute(InZoneOf(*copied, now)) + " lies in the future: the clock was set",
             "qrxctl copy {} --full", kStale});
}

void FindLock(const TableStatus& status, const journal::Timestamp& now, Findings& findings) {
    const auto seconds = SecondsHeld(status, now);
    const std::string since = seconds ? " " + Duration(*seconds) : "";
    if (status.lock == Lock::Left)
        findings.push_back(
            {Wrong, "LOCKED, no process",
             "locked" + since + " by " + Described(status.holder) + " on this machine, which is gone",
             "qrxctl unlock {}", kStale});
    if (status.lock != Lock::Unknown) return;
    const std::string& host = status.holder.by.host;
    const std::string lastSign = LastSign(status.sign, now);
    findings.push_back({Note, "locked, unknown",
                        host.empty() ? "locked by a program that keeps no run sheet here; nothing proves "
                                       "whether it still runs"
                                     : "locked" + since + " by " + Described(status.holder) + " on host " +
                                           host + (lastSign.empty() ? "" : ", " + lastSign) +
                                           "; nothing here proves whether it still runs",
                        "qrxctl unlock {}"});
}

void FindGap(const TableStatus& status, Findings& findings) {
    const std::int64_t seconds = GapSeconds(status);
    if (seconds == 0) return;
    const std::string length = Duration(seconds);
    findings.push_back({Wrong, "gap " + length, length + " of the trail were not read",
                        "qrxctl copy {} --fill-gaps", kStale});
}

void FindAge(const TableStatus& status, const journal::Timestamp& now, std::int64_t maxAge, Findings& findings) {
    const auto age = Age(status, now);
    if (age && *age <= maxAge) return;
    const bool isUnknown = !age && status.rows.value_or(0) > 0;
    const std::string what = age         ? "last copied " + Duration(*age) + " ago"
                             : isUnknown ? std::string("nobody knows when it was copied")
                                         : std::string("never copied");
    findings.push_back({Wrong,
                        age         ? "old"
                        : isUnknown ? "age unknown"
                                    : "never copied",
                        what + ", wanted every " + Duration(maxAge),
                        age ? "qrxctl copy {} --incremental" : "qrxctl copy {} --full", kStale});
}

void FindLastRun(const TableStatus& status, Findings& findings) {
    if (!status.lastRun || status.lastRun->outcome == "ok") return;
    const journal::RunEntry& run = *status.lastRun;
    const std::string cause = run.outcome == "guard" ? InGroups(run.cause) : run.cause;
    findings.push_back({Note, "last run " + run.outcome,
                        "last run " + run.outcome + (cause.empty() ? "" : ": " + cause),
                        "qrxctl history " + run.run});
}

Findings FindingsOf(const TableStatus& status, const journal::Timestamp& now,
                    std::optional<std::int64_t> maxAge) {
    Findings findings;
    if (!status.problem.empty()) {
        findings.push_back({Wrong, status.isMissing ? status.problem : "unreadable", status.problem,
                            status.isMissing ? "qrxctl init" : "qrxctl check", kFailed});
        return findings;
    }
    FindLock(status, now, findings);
    FindGap(status, findings);
    FindFuture(status, now, findings);
    if (maxAge) FindAge(status, now, *maxAge, findings);
    FindLastRun(status, findings);
    const bool isKnown = status.lastCopy || status.lastRun || status.lastUpdate || status.rows.value_or(0) > 0;
    if (!isKnown && !maxAge && status.lock == Lock::Free)
        findings.push_back({Note, "never copied", "never copied", "qrxctl copy {} --full"});
    if (status.blanked > 0)
        findings.push_back({Note,
                            Grouped(status.blanked) + (status.blanked == 1 ? " row" : " rows") + " blanked",
                            Counted(status.blanked, "row") + " without what the trail does not carry",
                            "qrxctl copy {} --full"});
    std::ranges::stable_sort(findings, {}, [](const Finding& finding) { return finding.word; });
    return findings;
}

// A finding with the tables that share it.
struct Shared {
    const Finding* finding;
    std::vector<std::string> tables;
};

std::vector<Shared> Together(const std::vector<Judgement>& judgements) {
    std::vector<Shared> all;
    for (const Judgement& judgement : judgements)
        for (const Finding& finding : judgement.findings) {
            const auto same = std::ranges::find_if(all, [&](const Shared& shared) {
                return shared.finding->word == finding.word && shared.finding->text == finding.text &&
                       shared.finding->step == finding.step;
            });
            if (same == all.end())
                all.push_back({&finding, {judgement.status->table}});
            else
                same->tables.push_back(judgement.status->table);
        }
    std::ranges::stable_sort(all, {}, [](const Shared& shared) { return shared.finding->word; });
    return all;
}

std::string LinesOf(const Shared& shared, const Overview& overview) {
    const Finding& finding = *shared.finding;
    const bool isAll = shared.tables.size() == overview.tables.size() && shared.tables.size() > 1;
    const std::string names = fmt::format("{}", fmt::join(shared.tables, " "));
    const std::string word = finding.word == Wrong ? "wrong" : "note";
    std::string lines = shared.tables.size() == 1
                            ? Fact(word, names, finding.text)
                            : Fact(word, Counted(static_cast<std::int64_t>(shared.tables.size()), "table"),
                                   finding.text + (isAll ? "" : ": " + names));
    return lines + NextStep(runtime::FillFirst(finding.step, "{}", WordsFor(shared.tables, overview.catalog)));
}

}  // namespace

std::string Judgement::State(const journal::Timestamp& now) const {
    if (status->lock == Lock::Copying && !IsWrong()) {
        const auto seconds = SecondsHeld(*status, now);
        return seconds ? "copying " + Duration(*seconds) : "in use";
    }
    return findings.empty() ? "ok" : findings.front().state;
}

std::vector<Judgement> Judge(const Overview& overview, std::optional<std::int64_t> maxAge) {
    std::vector<Judgement> judgements;
    for (const TableStatus& status : overview.tables)
        judgements.push_back({&status, FindingsOf(status, overview.now, maxAge)});
    return judgements;
}

ExitCode CodeOf(const std::vector<Judgement>& judgements) {
    ExitCode code = kAllWell;
    for (const Judgement& judgement : judgements)
        for (const Finding& finding : judgement.findings) code = Worse(code, finding.code);
    return code;
}

std::optional<std::int64_t> Age(const TableStatus& status, const journal::Timestamp& now) {
    if (const auto copied = BeganAt(status.lastCopy)) return SecondsBetween(*copied, now);
    if (!status.lastUpdate) return std::nullopt;
    const std::int64_t ifLocal = now.local.secondsSince1970 - status.lastUpdate->secondsSince1970;
    const std::int64_t ifUtc = now.Utc().secondsSince1970 - status.lastUpdate->secondsSince1970;
    const auto [least, most] = std::minmax(ifLocal, ifUtc);
    return least >= 0 ? least : std::max<std::int64_t>(0, most);
}

std::string FindingLines(const Overview& overview, const std::vector<Judgement>& judgements, bool wrongOnly) {
    std::string lines;
    for (const Shared& shared : Together(judgements))
        if (!wrongOnly || shared.finding->word == Wrong) lines += LinesOf(shared, overview);
    if (wrongOnly) return lines;
    if (!overview.booksProblem.empty()) lines += NoteOf("books", overview.booksProblem);
    if (overview.damage.lines > 0) lines += DamageLine(overview.historyFile, overview.damage);
    return lines;
}

}  // namespace iqrx::qrxctl
