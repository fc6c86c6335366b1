#include "qrxctl/copy_job.h"

#include <chrono>

#include "hosting/cls_data_copy_handler.h"
#include "hosting/sub_main.h"
#include "journal/exported.h"
#include "journal/heartbeat.h"
#include "journal/timestamp.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "qrxctl/lines.h"
#include "qrxctl/look.h"
#include "qrxctl/reading.h"

namespace iqrx::qrxctl {

namespace {

using platform::Date;

// Calendars are listed as they are: there is no trail of their changes.
bool HasTrail(const std::string& table) { return platform::Lower(table) != "tcccp030"; }

std::string Who(const platform::ProcessIdentity& by) {
    return by.terminal.empty() ? by.user : by.terminal + ", " + by.user;
}

std::optional<std::int64_t> CountOf(Look& look, const platform::Statement& question) try {
    return look.Count(question);
} catch (...) {
    return std::nullopt;  // a figure for the eye; the copy is done
}

platform::Integer IdOf(const control::TableCatalog& catalog, const std::string& table) {
    platform::Integer id = 0;
    while (id < control::kAllTables && catalog.GetTableName(id) != table) ++id;
    return id;
}

}  // namespace

const char* WordOf(CopyOutcome outcome) {
    constexpr const char* kWords[] = {"ok", "failed", "in use", "guard", "stopped"};
    return kWords[static_cast<int>(outcome)];
}

ExitCode CodeOf(CopyOutcome outcome) {
    constexpr ExitCode kCodes[] = {kAllWell, kFailed, kTableInUse, kGuarded, kStopped};
    return kCodes[static_cast<int>(outcome)];
}

hosting::Surroundings CopyJob::Surroundings() {
    hosting::Surroundings surroundings = run_.place.surroundings;
    surroundings.onWait = [](const std::string&) {};  // the progress shows it
    surroundings.limits = run_.copy.Limits(run_.place.options);
    surroundings.platform = PlatformNumber(run_.place.options);
    surroundings.removedRows = &undo_;
    surroundings.reusesSessions = true;
    return surroundings;
}

CopyJob::CopyJob(const CopyRun& run)
    : run_(run),
      undo_(run.books.directory, run.id),
      diagnostics_(run.place.talk),
      parts_(Surroundings()),
      process_(parts_.Ports(diagnostics_, this)) {
    PrepareProcess(process_, run.place.options);
}

TableResult CopyJob::Copy(const std::string& table, bool full) {
    TableResult result{.table = table, .method = full ? "full" : "incremental"};
    for (auto* count : {&parts_.Counts().copied, &parts_.Counts().removed}) *count = 0;
    const std::string began = Now();
    const auto start = std::chrono::steady_clock::now();
    const journal::TakenSheet taken = run_.books.sheets.Take({.table = table,
                                                              .run = run_.id,
                                                              .program = run_.copy.CommandLine(),
                                                              .method = result.method,
                                                              .since = began,
                                                              .by = parts_.Host().Self()});
    sheet_ = taken.sheet.get();
    if (taken.InUse()) {
        result.outcome = CopyOutcome::InUse;
        result.cause = "is being copied now by " + Described(taken.found.sheet);
    } else {
        try {
            const journal::Heartbeat heartbeat(taken.sheet.get(), parts_.Host(),
                                               [this] { return parts_.Counts().copied.load(); });
            if (TakeOver(taken.found, result)) Request(table, result);
        } catch (...) {
            result.outcome = CopyOutcome::Failed;
            result.cause = platform::OneLine(platform::CurrentError().description);
        }
        NoteStop(result);
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.copied = parts_.Counts().copied;
    result.removed = parts_.Counts().removed;
    if (result.outcome == CopyOutcome::Failed) result.nextStep = StepAfter(result.cause, result.table);
    undo_.Settle(result.removed > 0);
    if (!undo_.Problem().empty()) result.notes.push_back(undo_.Problem());
    Record(result, began);
    return result;
}

// A lock is taken over only when it is proved that the process that took it is gone. False: it is left.
bool CopyJob::TakeOver(const journal::SheetState& found, TableResult& result) {
    if (found.holder != journal::Holder::Dead) return true;
    const Options& options = run_.place.options;
    process_.database.OpenDatabase(options.connection, options.database, PlatformNumber(options));
    const bool locked = process_.controlTables.IsTableInUse(result.table);
    if (locked && !run_.copy.noTakeover) {
        process_.controlTables.UnlockTable(result.table);
        process_.database.Commit();
        result.notes.push_back("took over the lock of " + Described(found.sheet) + ", which is gone");
    }
    process_.database.CloseDatabase();
    if (sheet_ && (!locked || !run_.copy.noTakeover)) sheet_->LockIsFree();
    if (!locked || !run_.copy.noTakeover) return true;
    result.outcome = CopyOutcome::InUse;
    result.cause = "is locked by " + Described(found.sheet) + ", which is gone";
    result.nextStep = "qrxctl unlock " + result.table;
    return false;
}

std::optional<Date> WindowBegin(const CopyOptions& copy, const journal::Ledger& ledger,
                                const std::string& table, const journal::Begin& begin) {
    if (copy.since) return platform::ParseIsoDate(*copy.since);
    if (!HasTrail(table)) return std::nullopt;
    if (copy.fillGaps)
        if (const auto known = ledger.Of(table); known && !known->gaps.empty())
            return known->gaps.front().from;
    return ledger.NextFrom(table, begin);
}

// A copy of changes stamps UTC, which west of Greenwich lies ahead of the trail's local stamps: without a
// note in the ledger the window would be empty, and so would the next. Rather told twice than lost.
CopyJob::Moment CopyJob::FromLastUpdate(Date lastUpdate, const journal::Begin& begin) {
    if (lastUpdate == Date{0}) return std::nullopt;
    const std::chrono::system_clock::time_point asUtc{std::chrono::seconds(lastUpdate.secondsSince1970)};
    const Date from = std::min(lastUpdate, parts_.Host().LocalTime(asUtc));
    constexpr std::int64_t kDay = 24 * 60 * 60;
    return from <= begin.local ? from : Date{begin.local.secondsSince1970 - kDay};
}

void CopyJob::Request(const std::string& table, TableResult& result) {
    const bool full = result.method == "full";
    const journal::Begin begin = run_.books.ledger.BeginAt(process_.machine.clock.Now());
    Moment from = full ? std::nullopt : WindowBegin(run_.copy, run_.books.ledger, table, begin);
    Look look(process_.machine, parts_.PlainDatabases(), run_.place.options);
    const Moment before = full ? std::nullopt : Moment(look.LastUpdate(table));
    if (before && !from && HasTrail(table)) from = FromLastUpdate(*before, begin);
    const Moment exported = ExportMoment(table, full, begin);
    if (from) SetLastUpdate(process_.database, table, from);
    control::CopyRequest request = RequestOf(run_.place.options);
    request.tableId = IdOf(process_.catalog, table);
    request.syncMethod = full ? control::kFull : control::kIncremental;
    hosting::clsDataCopyHandler handler(process_);
    handler.HandleDataCopy(request);
    Judge(result, handler.LastOutcome());
    if (from && result.outcome != CopyOutcome::Copied && result.outcome != CopyOutcome::InUse) {
        // Past a stop, which the request's own connections no longer take a statement after.
        runtime::DatabaseSession plain(process_.machine, parts_.PlainDatabases());
        SetLastUpdate(plain, table, before);
    }
    if (result.outcome == CopyOutcome::Copied && before == Date{0} && HasTrail(table))
        result.notes.push_back("was never copied in full: it holds what changed, and nothing else; qrxctl copy " +
                               table + " --full brings the rest");
    if (result.outcome == CopyOutcome::Copied) NoteWhatWasRead(result, from ? from : before, exported, begin);
    result.rows = CountOf(look, kRowCount.On(table));
    if (full && result.outcome != CopyOutcome::Copied)
        result.waiting = CountOf(look, kUnconfirmedCount.On(table)).value_or(0);
}

void CopyJob::Judge(TableResult& result, control::Outcome outcome) {
    constexpr CopyOutcome kOutcomes[] = {CopyOutcome::Copied, CopyOutcome::Failed, CopyOutcome::InUse};
    result.cause = platform::OneLine(process_.runLog.FirstError());
    result.outcome = kOutcomes[hosting::ExitCodeOf(result.cause, outcome)];
    if (result.outcome == CopyOutcome::InUse) {
        result.cause = "is locked by a program that keeps no run sheet here";
        result.nextStep = "qrxctl unlock " + result.table;
    } else if (const auto& refused = parts_.Refused()) {
        result.outcome = CopyOutcome::Guarded;
        result.cause = refused->Text();
        result.nextStep = "allow:   qrxctl copy " + result.table + " --" + result.method + " --max-removed " +
                          std::to_string(refused->removed);
    }
}

void CopyJob::NoteStop(TableResult& result) const {
    const platform::StopRequest* stop = run_.place.surroundings.stop;
    if (result.outcome != CopyOutcome::Failed || !stop || !stop->Asked()) return;
    result.outcome = CopyOutcome::Stopped;
    result.cause = "by " + *stop->Asked();
}

// A trail that is written as changes are made has the time of its last one. When that second was over, the file
// holds all of it, and the next window begins after it: otherwise each copy would tell that change again.
CopyJob::Moment CopyJob::ExportMoment(const std::string& table, bool full, const journal::Begin& begin) {
    constexpr std::int64_t kSettled = 2;  // seconds: a change is written a moment after it was stamped
    const auto extract = hosting::ExtractOf(run_.place.options.erp);
    if (!extract || !HasTrail(table)) return std::nullopt;
    auto [at, isStated, problem] =
        journal::ExportMomentOf(*extract, {table + (full ? ".csv" : ".audit.csv")}, parts_.Host());
    if (at && !isStated && at->secondsSince1970 + kSettled <= begin.local.secondsSince1970)
        ++at->secondsSince1970;
    return at;
}

// What the export could not hold is not read, whatever the window said.
void CopyJob::NoteWhatWasRead(const TableResult& result, Moment from, Moment exported,
                              const journal::Begin& begin) {
    if (!HasTrail(result.table)) return;
    const Date readTo = exported && *exported < begin.local ? *exported : begin.local;
    if (result.method == "full")
        run_.books.ledger.ReadInFull(result.table, readTo, begin);
    else if (from && *from <= readTo)
        run_.books.ledger.ReadTrail(result.table, {*from, readTo}, begin);
}

void CopyJob::Record(const TableResult& result, const std::string& began) {
    run_.books.history.Append({.run = run_.id,
                               .table = result.table,
                               .method = result.method,
                               .program = run_.copy.CommandLine(),
                               .by = Who(parts_.Host().Self()),
                               .outcome = WordOf(result.outcome),
                               .cause = result.cause,
                               .began = began,
                               .ended = Now(),
                               .copied = result.copied,
                               .removed = result.removed,
                               .rows = result.rows,
                               .seconds = result.seconds});
}

// As it stands: the audit window begins at what the control table holds. The copy that holds a table stamps it itself.
void CopyJob::SetLastUpdate(runtime::DatabaseSession& session, const std::string& table, Moment moment) {
    const Options& options = run_.place.options;
    session.OpenDatabase(options.connection, options.database, PlatformNumber(options));
    control::ControlTables controlTables(process_.machine.clock, session);
    const bool wasNever = !moment || moment->secondsSince1970 == 0;
    if (!controlTables.IsTableInUse(table))
        controlTables.SetTableLastUpdate(
            table, wasNever ? platform::Literal::Unknown("NULL")
                            : session.Literals().WrapDateLiteral(runtime::FormatIsoDateTime(*moment)));
    session.AwaitAnswers();
    session.CloseDatabase();
}

}  // namespace iqrx::qrxctl
