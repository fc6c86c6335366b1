#include "qrxctl/copy_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

using Json = nlohmann::ordered_json;

// Of a copy that failed, the rows before stand, and so do the changes before the one that the guard refused;
// the rows of a full copy that it refused are counted by the next.
bool HasCounts(const TableResult& result) {
    const bool stands = result.outcome == CopyOutcome::Failed ||
                        (result.outcome == CopyOutcome::Guarded && result.method != "full");
    return result.outcome == CopyOutcome::Copied || result.outcome == CopyOutcome::Stopped ||
           (stands && result.copied + result.removed > 0);
}

const char* ClosingWord(CopyOutcome outcome) {
    constexpr const char* kWords[] = {"", "  failed", "  in use", "  stopped by the guard", "  stopped"};
    return kWords[static_cast<int>(outcome)];
}

std::string Figure(bool known, std::int64_t number) { return known ? Grouped(number) : "-"; }

void ShowRow(const TableResult& result, std::ostream& out) {
    const bool known = HasCounts(result);
    const std::int64_t failed = result.outcome == CopyOutcome::Failed ? 1 : 0;
    out << fmt::format("{:<9}{:>8}{:>9}{:>8}{:>10}{:>10}{}\n", result.table, Figure(known, result.copied),
                       Figure(known, result.removed), Figure(known, failed),
                       Figure(result.rows.has_value(), result.rows.value_or(0)), Seconds(result.seconds),
                       ClosingWord(result.outcome));
}

// Tables that ended in the same way for the same reason.
struct Trouble {
    const TableResult* first;
    std::vector<std::string> tables;
    std::string nextStep;  // of all of them; empty where each has its own
};

std::vector<Trouble> TroublesOf(const std::vector<TableResult>& results) {
    std::vector<Trouble> troubles;
    for (const TableResult& result : results) {
        if (result.outcome == CopyOutcome::Copied) continue;
        const auto same = std::ranges::find_if(troubles, [&](const Trouble& trouble) {
            return trouble.first->outcome == result.outcome && trouble.first->cause == result.cause;
        });
        if (same == troubles.end())
            troubles.push_back({&result, {result.table}, result.nextStep});
        else {
            same->tables.push_back(result.table);
            if (same->nextStep != result.nextStep) same->nextStep.clear();
        }
    }
    return troubles;
}

std::string WhatStopped(const TableResult& result) {
    if (result.outcome == CopyOutcome::Guarded)
        return InGroups(result.cause) +
               (HasCounts(result) ? "; " + Counted(result.removed, "row") + " removed before" : "");
    if (result.outcome != CopyOutcome::Stopped) return result.cause;
    std::string text = result.cause + " after " + Counted(result.copied, "row") + "; released";
    if (result.waiting > 0)
        text += "; " + Counted(result.waiting, "row") + " wait for the next full copy, nothing was removed";
    return text;
}

void ShowTrouble(const Trouble& trouble, std::ostream& out) {
    const TableResult& first = *trouble.first;
    const auto count = static_cast<std::int64_t>(trouble.tables.size());
    const char* word = first.outcome == CopyOutcome::Guarded ? "stopped" : WordOf(first.outcome);
    out << Fact(word, count == 1 ? first.table : Counted(count, "table"), WhatStopped(first));
    if (count > 1) out << Fact("", "", fmt::format("{}", fmt::join(trouble.tables, " ")));
    if (!trouble.nextStep.empty()) out << NextStep(trouble.nextStep);
}

std::int64_t Sum(const CopyReport& report, std::int64_t TableResult::*figure) {
    std::int64_t sum = 0;
    for (const TableResult& result : report.results)
        if (HasCounts(result)) sum += result.*figure;
    return sum;
}

// A table that was copied incrementally and then in full has two results, side by side.
std::int64_t CountOf(const CopyReport& report, CopyOutcome outcome) {
    std::int64_t count = 0;
    for (std::size_t i = 0; i < report.results.size(); ++i) {
        const bool isLast =
            i + 1 == report.results.size() || report.results[i + 1].table != report.results[i].table;
        if (isLast && report.results[i].outcome == outcome) ++count;
    }
    return count;
}

std::int64_t TablesOf(const CopyReport& report) {
    std::int64_t count = static_cast<std::int64_t>(report.notBegun.size());
    for (const CopyOutcome outcome : {CopyOutcome::Copied, CopyOutcome::Failed, CopyOutcome::InUse,
                                      CopyOutcome::Guarded, CopyOutcome::Stopped})
        count += CountOf(report, outcome);
    return count;
}

}  // namespace

ExitCode CodeOf(const CopyReport& report) {
    ExitCode code = report.notBegun.empty() ? kAllWell : kStopped;
    for (const TableResult& result : report.results) code = Worse(code, CodeOf(result.outcome));
    return code;
}

void ShowClosingTable(const CopyReport& report, std::ostream& out) {
    out << fmt::format("{:<9}{:>8}{:>9}{:>8}{:>10}{:>10}\n", "table", "copied", "removed", "failed",
                       "rows now", "seconds");
    for (const TableResult& result : report.results) ShowRow(result, out);
    out << fmt::format("{} of {} copied, {}, {} removed, {:.1f} s   run {}\n",
                       CountOf(report, CopyOutcome::Copied), Counted(TablesOf(report), "table"),
                       Counted(Sum(report, &TableResult::copied), "row"),
                       Grouped(Sum(report, &TableResult::removed)), report.seconds, report.run);
}

void ShowTroubles(const CopyReport& report, std::ostream& out) {
    for (const TableResult& result : report.results)
        for (const std::string& note : result.notes) out << Fact("note", result.table, note);
    for (const Trouble& trouble : TroublesOf(report.results)) ShowTrouble(trouble, out);
    if (report.notBegun.empty()) return;
    const std::size_t others = report.notBegun.size() - 1;
    out << fmt::format("done     {} of {} tables; not begun: {}{}\n", CountOf(report, CopyOutcome::Copied),
                       TablesOf(report), report.notBegun.front(),
                       others == 0 ? "" : fmt::format(" and {} more", others));
    out << NextStep(report.resume);
}

std::string JsonOf(const TableResult& result, const std::string& run, const std::string& at) {
    const char* event = result.outcome == CopyOutcome::Copied ? "copied" : WordOf(result.outcome);
    Json line{{"schema", 1},
              {"event", event},
              {"run", run},
              {"table", result.table},
              {"method", result.method},
              {"copied", result.copied},
              {"removed", result.removed},
              {"rows", nullptr},
              {"seconds", result.seconds}};
    if (result.rows) line["rows"] = *result.rows;
    if (!result.cause.empty()) line["cause"] = result.cause;
    if (!result.nextStep.empty()) line["next"] = result.nextStep;
    if (!result.notes.empty()) line["notes"] = result.notes;
    line["at"] = at;
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string JsonOfIntent(const std::string& table, const std::string& method, const std::string& what) {
    return Json{{"schema", 1}, {"event", "would"}, {"table", table}, {"method", method}, {"copies", what}}.dump();
}

std::string JsonOf(const CopyReport& report, const std::string& at) {
    const Json line{{"schema", 1},
                    {"event", "end"},
                    {"run", report.run},
                    {"tables", TablesOf(report)},
                    {"copied", CountOf(report, CopyOutcome::Copied)},
                    {"failed", CountOf(report, CopyOutcome::Failed)},
                    {"in_use", CountOf(report, CopyOutcome::InUse)},
                    {"guard", CountOf(report, CopyOutcome::Guarded)},
                    {"stopped", CountOf(report, CopyOutcome::Stopped)},
                    {"not_begun", report.notBegun},
                    {"seconds", report.seconds},
                    {"exit", static_cast<int>(CodeOf(report))},
                    {"at", at}};
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace iqrx::qrxctl
