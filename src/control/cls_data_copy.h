// The copy driver: one request for one table, reported through five events.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>

#include "control/copy_run.h"

namespace iqrx::control {

// The events of a run, raised on the calling thread. A handler that raises an error fails the run where it
// stands.
class DataCopyEvents {
public:
    virtual ~DataCopyEvents() = default;
    virtual void DataCopyStarted(platform::Date iTime, platform::Integer iTableID) = 0;
    virtual void DataCopyError(platform::Date iTime, platform::Integer iTableID, platform::Integer ieNumber,
                               const std::string& ieMessage) = 0;
    virtual void DataCopyComplete(platform::Date iTime, platform::Integer iTableID, platform::Long icount,
                                  platform::Long ucount, platform::Long dcount) = 0;
    virtual void DataCopyAlreadyInProgress(platform::Date iTime, platform::Integer iTableID) = 0;
    virtual void DataCopydone() = 0;
};

enum class Outcome { None, Complete, Error, AlreadyInProgress };

// Said once: by the command line, through COM or by the operator's tool.
struct CopyRequest {
    std::string connectionString;
    std::string localDatabase;
    platform::Integer tableId = 0;
    platform::Integer syncMethod = 0;
    std::string logFilePath;
    std::string busComponent;
    platform::Long databasePlatform = 1;
    std::string calendarParameter = {};  // of a calendar run: the calendar's code, the employee's number
    std::optional<platform::Long> statusKey = {};  // with which the caller wants UpdateStatusByTable
};

inline constexpr platform::Integer kCalendarOfOne = 98;
inline constexpr platform::Integer kCalendarOfEmployee = 99;
inline constexpr platform::Integer kAllTables = 128;
inline constexpr platform::Integer kCalendarTable =
    18;  // the catalog id whose table the calendar runs lock and fill

// The local table that a request copies into; empty for an id that has none.
std::string TableOf(const TableCatalog& catalog, const CopyRequest& request);

class clsDataCopy {
public:
    // All four are borrowed. `tables` is searched in its order.
    clsDataCopy(Process& process, std::span<const TableRoutine> tables, const CalendarRoutines& calendars,
                DataCopyEvents& events);

    // Runs the request. Raises nothing: exactly one outcome event, then DataCopydone, tell what came of it.
    void StartDataCopy(const CopyRequest& request);

    // Copies nothing: a request for all tables is the scheduler's to split.
    void CopyAllTables(const CopyRequest& request);

    void FormatFailedMessage(const std::string& title, const std::string& text, std::string& result);

    Outcome LastOutcome() const { return outcome_; }
    CopyRun& Run() { return run_; }

private:
    void RunRequest(const CopyRequest& request);
    void NameRunLog(const CopyRequest& request);
    Outcome CopyTable(const CopyRequest& request);
    void CopyLocked(const std::string& tableName, const CopyRequest& request);
    void Dispatch(const std::string& tableName, const CopyRequest& request);
    void SettleAfterFailure();
    void FreeTable(const std::string& tableName);
    void RaiseOutcome(Outcome outcome, platform::Integer tableId);
    void RaiseError(platform::Integer tableId);
    bool Logged(const std::function<void()>& work);
    void LogCurrentError();
    platform::Date Time();

    Process& process_;
    std::span<const TableRoutine> tables_;
    CalendarRoutines calendars_;
    DataCopyEvents& events_;
    CopyRun run_;
    std::string logDirectory_;  // of the request
    Outcome outcome_ = Outcome::None;
    bool isUnknownTable_ = false;  // to the dispatch list
};

// The failure text of a table routine: `title` and `text` in the catalog's words.
std::string FailedMessage(runtime::MessageCatalog& messages, const std::string& title, const std::string& text);

}  // namespace iqrx::control
