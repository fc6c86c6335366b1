#include "control/cls_data_copy.h"

#include <algorithm>
#include <limits>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::control {

namespace {

std::string LowerCase(std::string text) {
    std::ranges::transform(text, text.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

bool IsCalendarRun(platform::Integer tableId) {
    return tableId == kCalendarOfOne || tableId == kCalendarOfEmployee;
}

}  // namespace

void Add(platform::Long& counter, platform::Long amount) {
    if (amount > 0 && counter > std::numeric_limits<platform::Long>::max() - amount)
        platform::RaiseRuntimeError(platform::kOverflow);
    counter += amount;
}

erp::Erp& CopyRun::Erp(const std::string& runParameter) {
    if (!erp_) erp_ = process.erps.Open(runParameter);
    return *erp_;
}

std::string FailedMessage(runtime::MessageCatalog& messages, const std::string& title, const std::string& text) {
    return runtime::Fill(runtime::Fill(messages.GetI18nText("SLBL0507"), "%1", title), "%2", text);
}

clsDataCopy::clsDataCopy(Process& process, std::span<const TableRoutine> tables,
                         const CalendarRoutines& calendars, DataCopyEvents& events)
    : process_(process), tables_(tables), calendars_(calendars), events_(events), run_(process) {}

void clsDataCopy::StartDataCopy(const CopyRequest& request) {
    outcome_ = Outcome::None;
    try {
        RunRequest(request);
    } catch (...) {
        LogCurrentError();
        try {
            if (outcome_ == Outcome::None) RaiseError(request.tableId);
        } catch (...) {
            LogCurrentError();
        }
    }
    try {
        events_.DataCopydone();
    } catch (...) {
        LogCurrentError();
    }
    process_.runLog.KeepErrors(nullptr);
    process_.database.CloseDatabase();
}

void clsDataCopy::RunRequest(const CopyRequest& request) {
    process_.runLog.SetLogFileName({});
    process_.database.SetPlatform(platform::ToInteger(request.databasePlatform));
    NameRunLog(request);
    process_.database.OpenDatabase(request.connectionString, request.localDatabase);
    const Result result = CopyTable(request);
    RaiseOutcome(result, request.tableId);
    const platform::Value filter = process_.controlTables.GetTVKFilter();
    if (platform::ToDouble(filter) == 1 && process_.settings.tableStatus)
        calendars_.expandListedCalendars(run_);
}

void clsDataCopy::NameRunLog(const CopyRequest& request) {
    const std::string table =
        request.tableId == kCalendarOfEmployee ? "tcccp030" : process_.catalog.GetTableName(request.tableId);
    const std::string& directory =
        request.logFilePath.empty() ? process_.machine.blankDirectory : request.logFilePath;
    process_.runLog.SetLogFileName(directory + process_.machine.pathSeparator + table + "_" +
                                   platform::CompactDate(process_.machine.clock.Now()) + ".log");
}

clsDataCopy::Result clsDataCopy::CopyTable(const CopyRequest& request) {
    run_.counters = {};
    const std::string tableName =
        process_.catalog.GetTableName(IsCalendarRun(request.tableId) ? kCalendarTable : request.tableId);
    try {
        process_.runLog.KeepErrors(process_.database.LastErrors());
        if (process_.controlTables.IsTableInUse(tableName)) return kInUse;
        CopyLocked(tableName, request);
    } catch (...) {
        LogCurrentError();
        process_.controlTables.UnlockTable(tableName);
        return kFailed;
    }
    try {
        process_.controlTables.UnlockTable(tableName);
    } catch (...) {
        LogCurrentError();
    }
    return kDone;
}

void clsDataCopy::CopyLocked(const std::string& tableName, const CopyRequest& request) {
    process_.controlTables.LockTable(tableName);
    events_.DataCopyStarted(Time(), request.tableId);
    Dispatch(tableName, request);
    const Counters& counters = run_.counters;
    if (process_.database.Platform() == runtime::kSqlServer &&
        (counters.updated > 0 || counters.inserted > 0 || counters.deleted >= 1))
        process_.database.UpdateStatistics(tableName);
}

void clsDataCopy::Dispatch(const std::string& tableName, const CopyRequest& request) {
    const Settings& settings = process_.settings;
    if (request.tableId == kCalendarOfEmployee)
        return calendars_.copyEmployeeCalendar(run_, settings.calendarRunParameter99, request.busComponent);
    if (request.tableId == kCalendarOfOne)
        return calendars_.copyCalendar(run_, settings.calendarRunParameter98, request.busComponent);
    const std::string name = LowerCase(tableName);
    const auto routine = std::ranges::find(tables_, name, &TableRoutine::table);
    if (routine != tables_.end())
        routine->copy(run_, tableName, request.busComponent, request.syncMethod);
    else
        process_.machine.messageBox.Show(process_.messages.GetI18nText("SLBL0302"));
}

void clsDataCopy::RaiseOutcome(Result result, platform::Integer tableId) {
    if (result == kFailed) return RaiseError(tableId);
    if (result == kInUse) {
        outcome_ = Outcome::AlreadyInProgress;
        return events_.DataCopyAlreadyInProgress(Time(), tableId);
    }
    outcome_ = Outcome::Complete;
    const Counters& counters = run_.counters;
    events_.DataCopyComplete(Time(), tableId, counters.inserted, counters.updated, counters.deleted);
}

void clsDataCopy::RaiseError(platform::Integer tableId) {
    outcome_ = Outcome::Error;
    events_.DataCopyError(Time(), tableId, -1,
                          "DataCopy Failed, see logfile '" + process_.runLog.LogFileName() + "' for details");
}

void clsDataCopy::LogCurrentError() { process_.runLog.LogError("", platform::CurrentError()); }

platform::Date clsDataCopy::Time() { return platform::TimeOfDay(process_.machine.clock.Now()); }

void clsDataCopy::CopyAllTables(const CopyRequest&) { process_.settings.allTables = true; }

void clsDataCopy::FormatFailedMessage(const std::string& title, const std::string& text, std::string& result) {
    result = FailedMessage(process_.messages, title, text);
}

}  // namespace iqrx::control
