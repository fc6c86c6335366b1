#include "control/cls_data_copy.h"

#include <algorithm>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::control {

namespace {

platform::Integer CatalogIdOf(const CopyRequest& request) {
    const bool isCalendarRun = request.tableId == kCalendarOfOne || request.tableId == kCalendarOfEmployee;
    return isCalendarRun ? kCalendarTable : request.tableId;
}

}  // namespace

std::string FailedMessage(runtime::MessageCatalog& messages, const std::string& title, const std::string& text) {
    return runtime::Fill(runtime::Fill(messages.GetI18nText("SLBL0507"), "%1", title), "%2", text);
}

std::string TableOf(const TableCatalog& catalog, const CopyRequest& request) {
    const platform::Integer id = CatalogIdOf(request);
    return TableCatalog::HasRoomFor(id) ? catalog.GetTableName(id) : std::string();
}

clsDataCopy::clsDataCopy(Process& process, std::span<const TableRoutine> tables,
                         const CalendarRoutines& calendars, DataCopyEvents& events)
    : process_(process), tables_(tables), calendars_(calendars), events_(events), run_(process) {}

void clsDataCopy::StartDataCopy(const CopyRequest& request) {
    outcome_ = Outcome::None;
    logDirectory_ = request.logFilePath;
    const bool hasRun = Logged([&] { RunRequest(request); });
    if (!hasRun && outcome_ == Outcome::None) Logged([&] { RaiseError(request.tableId); });
    Logged([&] { events_.DataCopydone(); });
    process_.runLog.KeepErrors(nullptr);
    process_.database.CloseDatabase();
}

void clsDataCopy::RunRequest(const CopyRequest& request) {
    process_.runLog.SetLogFileName({});
    const platform::Integer platform = platform::ToInteger(request.databasePlatform);
    NameRunLog(request);
    process_.database.OpenDatabase(request.connectionString, request.localDatabase, platform);
    RaiseOutcome(CopyTable(request), request.tableId);
    const platform::Value filter = process_.controlTables.GetTVKFilter();
    if (platform::ToDouble(filter) == 1 && request.statusKey) calendars_.expandListedCalendars(run_);
    process_.database.Commit();
}

void clsDataCopy::NameRunLog(const CopyRequest& request) {
    const std::string table =
        request.tableId == kCalendarOfEmployee ? "tcccp030" : process_.catalog.GetTableName(request.tableId);
    const std::string& directory =
        request.logFilePath.empty() ? process_.machine.blankDirectory : request.logFilePath;
    process_.runLog.SetLogFileName(directory + process_.machine.pathSeparator + table + "_" +
                                   platform::CompactDate(process_.machine.clock.Now()) + ".log");
}

Outcome clsDataCopy::CopyTable(const CopyRequest& request) {
    run_.counters = {};
    isUnknownTable_ = false;
    const std::string tableName = process_.catalog.GetTableName(CatalogIdOf(request));
    try {
        process_.runLog.KeepErrors(process_.database.LastErrors());
        const bool isTaken = process_.controlTables.TakeTable(tableName, [this] {
            if (process_.witness) process_.witness->TableTaken();
        });
        if (!isTaken) return Outcome::AlreadyInProgress;
        CopyLocked(tableName, request);
    } catch (...) {
        LogCurrentError();
        SettleAfterFailure();
        FreeTable(tableName);
        return Outcome::Error;
    }
    FreeTable(tableName);
    // Not before: a box may stand on the screen for as long as nobody closes it.
    if (isUnknownTable_) process_.machine.messageBox.Show(process_.messages.GetI18nText("SLBL0302"));
    return Outcome::Complete;
}

// What was reported done before the failure is kept, or its loss told; the lock goes in either case.
void clsDataCopy::SettleAfterFailure() {
    Logged([&] { process_.database.Commit(); });
}

// Tried once more after a failure, since a table that stays locked is not copied until somebody looks. A loss
// that failed the first try would fail the second, too, unless it is settled between them.
void clsDataCopy::FreeTable(const std::string& tableName) {
    for (const bool last : {false, true}) try {
            return process_.controlTables.UnlockTable(tableName);
        } catch (...) {
            LogCurrentError();
            if (last)
                process_.diagnostics << runtime::DiagnosticLine(tableName + " stays locked: " +
                                                                platform::CurrentError().description)
                                     << std::endl;
            else
                SettleAfterFailure();
        }
}

void clsDataCopy::CopyLocked(const std::string& tableName, const CopyRequest& request) {
    events_.DataCopyStarted(Time(), request.tableId);
    Dispatch(tableName, request);
    process_.database.Commit();
    const Counters& counters = run_.counters;
    if (process_.database.Speaks().keepsStatistics &&
        (counters.updated > 0 || counters.inserted > 0 || counters.deleted >= 1))
        process_.database.UpdateStatistics(tableName);
}

void clsDataCopy::Dispatch(const std::string& tableName, const CopyRequest& request) {
    if (request.tableId == kCalendarOfEmployee)
        return calendars_.copyEmployeeCalendar(run_, request.calendarParameter, request.busComponent);
    if (request.tableId == kCalendarOfOne)
        return calendars_.copyCalendar(run_, request.calendarParameter, request.busComponent);
    const std::string name = platform::Lower(tableName);
    const auto routine = std::ranges::find(tables_, name, &TableRoutine::table);
    if (routine != tables_.end())
        routine->copy({run_, tableName, request.busComponent, request.syncMethod});
    else
        isUnknownTable_ = true;
}

void clsDataCopy::RaiseOutcome(Outcome outcome, platform::Integer tableId) {
    if (outcome == Outcome::Error) return RaiseError(tableId);
    outcome_ = outcome;
    if (outcome == Outcome::AlreadyInProgress) return events_.DataCopyAlreadyInProgress(Time(), tableId);
    const Counters& counters = run_.counters;
    events_.DataCopyComplete(Time(), tableId, counters.inserted, counters.updated, counters.deleted);
}

void clsDataCopy::RaiseError(platform::Integer tableId) {
    outcome_ = Outcome::Error;
    const std::string& runLog = process_.runLog.LogFileName();
    const std::string log = runLog.empty() ? runtime::RequestErrorLog(process_.machine, logDirectory_) : runLog;
    events_.DataCopyError(Time(), tableId, -1, "DataCopy Failed, see logfile '" + log + "' for details");
}

// Does the work; an error of it is logged. Whether there was none.
bool clsDataCopy::Logged(const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (...) {
        LogCurrentError();
        return false;
    }
}

// A run whose log has no name yet has none of its own to write to.
void clsDataCopy::LogCurrentError() {
    const platform::RuntimeError error = platform::CurrentError();
    if (process_.runLog.LogFileName().empty())
        runtime::LogHandlerError(process_.machine, process_.messages, logDirectory_, error);
    process_.runLog.LogError("", error);
}

platform::Date clsDataCopy::Time() { return platform::TimeOfDay(process_.machine.clock.Now()); }

void clsDataCopy::CopyAllTables(const CopyRequest&) { process_.settings.allTables = true; }

void clsDataCopy::FormatFailedMessage(const std::string& title, const std::string& text, std::string& result) {
    result = FailedMessage(process_.messages, title, text);
}

}  // namespace iqrx::control
