#include <nlohmann/json.hpp>

#include "platform/date.h"
#include "qrxctl/moments.h"
#include "qrxctl/status_output.h"

namespace iqrx::qrxctl {

namespace {

using Json = nlohmann::ordered_json;

template <class Value>
Json OrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json TextOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

const char* NameOf(Lock lock) {
    constexpr const char* kNames[] = {"free", "copying", "left", "unknown"};
    return kNames[static_cast<int>(lock)];
}

Json LockJson(const TableStatus& status, const journal::Timestamp& now) {
    if (status.lock == Lock::Free) return nullptr;
    const journal::SheetText& holder = status.holder;
    return {{"holder", NameOf(status.lock)},
            {"age_seconds", OrNull(SecondsHeld(status, now))},
            {"rows", status.sign ? Json(status.sign->rows) : Json(nullptr)},
            {"rows_per_second", status.sign ? Json(RowsPerSecond(*status.sign)) : Json(nullptr)},
            {"last_sign", status.sign ? TextOrNull(status.sign->at) : Json(nullptr)},
            {"since", TextOrNull(holder.since)},
            {"run", TextOrNull(holder.run)},
            {"program", TextOrNull(holder.program)},
            {"method", TextOrNull(holder.method)},
            {"pid", holder.by.pid > 0 ? Json(holder.by.pid) : Json(nullptr)},
            {"user", TextOrNull(holder.by.user)},
            {"host", TextOrNull(holder.by.host)}};
}

Json GapsJson(const TableStatus& status, const platform::Host& host) {
    Json gaps = Json::array();
    if (status.read)
        for (const journal::Stretch& gap : status.read->gaps)
            gaps.push_back({{"from", journal::Rfc3339(AtLocal(host, gap.from))},
                            {"to", journal::Rfc3339(AtLocal(host, gap.to))}});
    return gaps;
}

Json LastCopyJson(const TableStatus& status) {
    if (!status.lastCopy) return nullptr;
    return {{"at", TextOrNull(status.lastCopy->began)},
            {"method", status.lastCopy->method},
            {"run", status.lastCopy->run}};
}

Json LastRunJson(const TableStatus& status) {
    if (!status.lastRun) return nullptr;
    return {{"run", status.lastRun->run},
            {"ended", TextOrNull(status.lastRun->ended)},
            {"outcome", status.lastRun->outcome},
            {"cause", TextOrNull(status.lastRun->cause)}};
}

Json FindingsJson(const Judgement& judgement) {
    Json findings = Json::array();
    for (const Finding& finding : judgement.findings)
        findings.push_back({{"word", finding.word == Finding::Word::Wrong ? "wrong" : "note"},
                            {"text", finding.text},
                            {"next", runtime::FillFirst(finding.step, "{}", judgement.status->table)}});
    return findings;
}

Json TableJson(const Judgement& judgement, const Overview& overview, const platform::Host& host) {
    const TableStatus& status = *judgement.status;
    const bool isReadable = status.problem.empty();
    Json table;
    table["table"] = status.table;
    table["state"] = judgement.State(overview.now);
    table["rows"] = isReadable && !status.isMore ? OrNull(status.rows) : Json(nullptr);
    if (status.isMore) table["rows_more_than"] = OrNull(status.rows);
    table["rows_counted"] = status.isCounted;
    table["last_copy"] = LastCopyJson(status);
    // Without a zone: nobody but the run that set it knows whether it is local time or UTC.
    table["last_update"] = status.lastUpdate ? Json(platform::IsoDateTime(*status.lastUpdate)) : Json(nullptr);
    table["age_seconds"] = OrNull(Age(status, overview.now));
    table["trail_read_to"] =
        status.read ? Json(journal::Rfc3339(AtLocal(host, status.read->readTo))) : Json(nullptr);
    table["trail_gap_seconds"] = GapSeconds(status);
    table["gaps"] = GapsJson(status, host);
    table["blanked"] = status.blanked;
    table["in_use"] = status.lock != Lock::Free;
    table["lock"] = LockJson(status, overview.now);
    table["last_run"] = LastRunJson(status);
    table["findings"] = FindingsJson(judgement);
    return table;
}

}  // namespace

std::string StatusJson(const Overview& overview, const std::vector<Judgement>& judgements,
                       const platform::Host& host) {
    Json status;
    status["schema"] = 1;
    status["database"] = overview.database;
    status["at"] = journal::Rfc3339(overview.now);
    status["exit_code"] = static_cast<int>(CodeOf(judgements));
    status["problem"] = TextOrNull(overview.booksProblem);
    status["damaged_history_lines"] = overview.damage.lines;
    status["tables"] = Json::array();
    for (const Judgement& judgement : judgements)
        status["tables"].push_back(TableJson(judgement, overview, host));
    return status.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace iqrx::qrxctl
