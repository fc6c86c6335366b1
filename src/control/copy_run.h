// One run of one table: what every table routine is handed.
#pragma once

#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "control/process.h"
#include "platform/error.h"

namespace iqrx::control {

struct Counters {
    platform::Long inserted = 0;
    platform::Long updated = 0;
    platform::Long deleted = 0;
    bool countsAllAsInserted = false;  // rows updated from now on, too
};

// Raises "overflow" past the largest 32-bit number.
inline void Add(platform::Long& counter, platform::Long amount) {
    if (amount > 0 && counter > std::numeric_limits<platform::Long>::max() - amount)
        platform::RaiseRuntimeError(platform::kOverflow);
    counter += amount;
}

// Counts rows as the database answers.
class UpsertCounts final : public platform::Answers {
public:
    UpsertCounts(Counters& counters, bool everyInsert) : counters_(counters), everyInsert_(everyInsert) {}
    void Updated(platform::Long affected) override {
        if (affected != 0) Add(counters_.countsAllAsInserted ? counters_.inserted : counters_.updated, 1);
    }
    void Inserted(platform::Long affected) override {
        if (affected == 1 || everyInsert_) Add(counters_.inserted, 1);
    }

private:
    Counters& counters_;
    const bool everyInsert_;  // whatever number of rows the server reports
};

enum SyncMethod : platform::Integer { kFull = 1, kIncremental = 2 };

struct CopyRun {
    explicit CopyRun(Process& owner) : process(owner) {}
    CopyRun(const CopyRun&) = delete;
    CopyRun& operator=(const CopyRun&) = delete;

    runtime::DatabaseSession& Database() { return process.database; }
    const runtime::SqlLiterals& Literals() { return process.database.Literals(); }
    // The ERP that the run parameter names; opened at its first use, kept for the run.
    erp::Erp& Erp(const std::string& runParameter) {
        if (!erp_) erp_ = process.erps.Open(runParameter, notice_);
        return *erp_;
    }

    Process& process;
    Counters counters;
    UpsertCounts rows{counters, false}, rowsHoweverReported{counters, true};
    std::unique_ptr<platform::TextStream> calcodesFile;  // between CreateCalcodesFile and CloseCalcodesFile

private:
    const erp::Notice notice_ = [this](const std::string& text) { process.runLog.LogNotice(text); };
    std::unique_ptr<erp::Erp> erp_;
};

// What every routine of a table is called with. All is borrowed.
struct TableCall {
    CopyRun& run;
    const std::string& tableName;
    const std::string& runParameter;
    platform::Integer syncMethod;  // 1 copies in full, 2 incrementally, any other does nothing
};
using Routine = void(const TableCall& call);

struct TableRoutine {
    std::string_view table;  // lower case
    Routine* copy;           // the entry routine
};

// The calendar runs, which are not tables of the dispatch list.
struct CalendarRoutines {
    void (*copyEmployeeCalendar)(CopyRun& run, const std::string& employee, const std::string& runParameter);
    void (*copyCalendar)(CopyRun& run, const std::string& calendar, const std::string& runParameter);
    void (*expandListedCalendars)(CopyRun& run);
};

}  // namespace iqrx::control
