#include "qrxctl/history_output.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/date.h"
#include "qrxctl/lines.h"
#include "qrxctl/moments.h"
#include "qrxctl/run_log_excerpt.h"

namespace iqrx::qrxctl {

namespace {

using journal::RunEntry;
using Json = nlohmann::ordered_json;

constexpr const char* kService = "iQRXyQRXSync";
constexpr std::size_t kRunWidth = std::string_view("20261121-104032").size();

std::string Figure(const std::optional<std::int64_t>& number) { return number ? Grouped(*number) : "-"; }

Json OrNull(const std::optional<std::int64_t>& number) { return number ? Json(*number) : Json(nullptr); }

// Why a run ended as it did, and through whom; empty when there is nothing to say.
std::string Reason(const RunEntry& entry) {
    std::string text = entry.outcome == "guard" ? InGroups(entry.cause) : entry.cause;
    if (entry.outcome == "stopped" && !entry.by.empty()) text += (text.empty() ? "(" : " (") + entry.by + ")";
    return text;
}

// Whoever found the table in use has not copied anything, whatever the figures say.
std::string HeadOf(const RunEntry& entry, std::size_t runWidth, bool namesTable) {
    const bool copied = entry.outcome != "in use";
    return fmt::format("{:<{}} {}{:<11} {:>9} {:>7} {:>7}  ", entry.run, runWidth,
                       namesTable ? fmt::format("{:<8} ", entry.table) : "", entry.method,
                       copied ? Figure(entry.copied) : "-", copied ? Figure(entry.removed) : "-",
                       Seconds(entry.seconds));
}

std::string LineOf(const RunEntry& entry, std::size_t runWidth, bool namesTable) {
    const std::string head = HeadOf(entry, runWidth, namesTable);
    const std::string service = entry.program == kService ? " (service)" : "";
    const std::string end = EndOf(entry) + service;
    if (head.size() + end.size() <= kColumns) return head + end + '\n';
    const std::size_t indent = runWidth + 1;
    return head + entry.outcome + service + '\n' + std::string(indent, ' ') + Wrapped(Reason(entry), indent) +
           '\n';
}

std::string MomentOf(const std::string& rfc3339) {
    const auto moment = journal::ParseRfc3339(rfc3339);
    if (!moment) return rfc3339.empty() ? "-" : rfc3339;
    return platform::IsoDateTime(moment->local) + " (" + ZoneName(moment->offsetMinutes) + ")";
}

std::string RunOfTable(const RunEntry& entry, platform::Machine& machine, const std::string& logDirectory) {
    std::string text = '\n' + Detail("table", entry.table + " " + entry.method);
    text += Detail("began", MomentOf(entry.began));
    text += Detail("ended", MomentOf(entry.ended) + ", " + Seconds(entry.seconds) + " s");
    text += Detail("outcome", EndOf(entry));
    text += Detail("rows", Figure(entry.copied) + " copied, " + Figure(entry.removed) + " removed, " +
                               Figure(entry.rows) + " afterwards");
    const RunLogExcerpt excerpt = ExcerptOf(entry, machine, logDirectory);
    text += Detail("log", excerpt.file + (excerpt.problem.empty() ? "" : ": " + excerpt.problem));
    for (const std::string& line : excerpt.lines) text += Detail("", line);
    return text;
}

}  // namespace

std::string EndOf(const RunEntry& entry) {
    const std::string reason = Reason(entry);
    if (entry.outcome == "ok" || reason.empty()) return entry.outcome;
    const bool isSentence = reason.starts_with("by ") || reason.starts_with('(');
    return entry.outcome + (isSentence ? " " : ": ") + reason;
}

std::string HistoryTable(const std::vector<RunEntry>& newestFirst) {
    if (newestFirst.empty()) return {};
    const bool namesTables = std::ranges::any_of(
        newestFirst, [&](const RunEntry& entry) { return entry.table != newestFirst.front().table; });
    std::size_t width = kRunWidth;
    for (const RunEntry& entry : newestFirst) width = std::max(width, entry.run.size());
    std::string text =
        fmt::format("{:<{}} {}{:<11} {:>9} {:>7} {:>7}  {}\n", "run", width, namesTables ? "table    " : "",
                    "method", "copied", "removed", "seconds", "ended");
    for (const RunEntry& entry : newestFirst) text += LineOf(entry, width, namesTables);
    return text;
}

std::string RunText(const std::vector<RunEntry>& entries, platform::Machine& machine,
                    const std::string& logDirectory) {
    const RunEntry& first = entries.front();
    std::string text = Detail("run", first.run) + Detail("program", first.program) + Detail("by", first.by);
    for (const RunEntry& entry : entries) text += RunOfTable(entry, machine, logDirectory);
    return text;
}

std::string HistoryJson(const std::vector<RunEntry>& newestFirst, const journal::Damage& damage) {
    Json runs = Json::array();
    for (const RunEntry& entry : newestFirst) {
        Json run{{"run", entry.run},       {"table", entry.table},
                 {"method", entry.method}, {"program", entry.program},
                 {"by", entry.by},         {"outcome", entry.outcome},
                 {"cause", entry.cause},   {"began", entry.began},
                 {"ended", entry.ended},   {"copied", OrNull(entry.copied)}};
        run["removed"] = OrNull(entry.removed);
        run["rows"] = OrNull(entry.rows);
        run["seconds"] = entry.seconds;
        runs.push_back(std::move(run));
    }
    Json history{{"schema", 1}, {"damaged_lines", damage.lines}, {"damaged_places", damage.places}};
    history["runs"] = std::move(runs);
    return history.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string PrunedText(const Pruned& pruned) {
    return Fact("ok", "history",
                "removed " + Counted(pruned.runs.removed, "run") + " from before " + pruned.before + ", " +
                    Grouped(pruned.runs.kept) + " kept") +
           Fact("ok", "logs", "removed " + Counted(pruned.logs, "file")) +
           Fact("ok", "undo", "removed " + Counted(pruned.undoFiles, "file"));
}

std::string PrunedJson(const Pruned& pruned) {
    const Json told{{"schema", 1},
                    {"before", pruned.before},
                    {"runs_removed", pruned.runs.removed},
                    {"runs_kept", pruned.runs.kept},
                    {"logs_removed", pruned.logs},
                    {"undo_files_removed", pruned.undoFiles},
                    {"problems", pruned.problems}};
    return told.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace iqrx::qrxctl
