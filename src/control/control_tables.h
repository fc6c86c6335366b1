// The tables in the local database that steer the copy: lock, last update and filter of each table, marks of
// full copies, parameters.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "runtime/database_session.h"

namespace iqrx::control {

// The names of these tables, in lower case. Processes coordinate through them.
platform::TableNames CoordinatingTables();

// Every member raises RuntimeError when its statement fails, but LockTable and those at the end, which only
// write: their statements are sent, and what fails is raised by the session's next call that waits.
class ControlTables {
public:
    ControlTables(platform::Clock& clock, runtime::DatabaseSession& database)
        : clock_(clock), database_(database) {}

    // Locks the table unless it is in use; whether it was locked. Of two processes that ask at the same
    // moment one gets it, and calls `before` while nobody else can.
    bool TakeTable(const std::string& table, const std::function<void()>& before);
    bool IsTableInUse(const std::string& table);
    void LockTable(const std::string& table);
    void UnlockTable(const std::string& table);

    // The moment the next audit window begins; 1970-01-01 00:00:00 for a table that was never copied.
    platform::Date GetTableLastUpdate(const std::string& table);

    // A bit mask over the order statuses that are copied.
    platform::Integer GetFilterFlag(const std::string& table);

    platform::Integer GetQrxCalendar();  // days of calendar history
    platform::Value GetTVKFilter();      // 1: calendars are expanded; Empty when the parameter is not set

    void SetTableLastUpdate(const std::string& table, const platform::Literal& date);
    void MarkFullSyncStart(const std::string& table);
    void MarkFullSyncFinish(const std::string& table);
    void PurgeAuditTable(const std::string& table);

private:
    platform::Value ControlField(const std::string& table, std::string_view field);
    void SetInUse(const std::string& table, bool inUse);
    platform::Literal FullSyncLiteral() const;

    platform::Clock& clock_;
    runtime::DatabaseSession& database_;
};

}  // namespace iqrx::control
