#include "composition/composition.h"

#include <chrono>
#include <ostream>

#include "control/cls_data_copy.h"
#include "journal/heartbeat.h"
#include "journal/history.h"
#include "journal/run_sheet.h"
#include "journal/timestamp.h"
#include "platform/error.h"
#include "platform/printable.h"

namespace iqrx::hosting {

namespace {

const char* MethodOf(const control::CopyRequest& request) {
    const bool calendarRun =
        request.tableId == control::kCalendarOfOne || request.tableId == control::kCalendarOfEmployee;
    return calendarRun || request.syncMethod == control::kFull ? "full" : "incremental";
}

// What does nothing is not a run: a table that the catalog does not know, a method that is none.
bool IsRun(const control::CopyRequest& request, const std::string& table) {
    const bool hasMethod = request.syncMethod == control::kFull || request.syncMethod == control::kIncremental;
    return !table.empty() && (hasMethod || MethodOf(request) == std::string("full"));
}

struct Run {
    Run(Composition& parts, const control::CopyRequest& request)
        : directory(parts.Host(), parts.Machine().files,
                    journal::StateDirectoryOf(request.connectionString, request.logFilePath),
                    journal::Use::Writing,
                    journal::DatabaseIdOf(request.connectionString, request.localDatabase,
                                          request.databasePlatform == runtime::kOracle)) {}

    journal::StateDirectory directory;
    journal::RunEntry entry;
    journal::TakenSheet taken;
    std::optional<journal::Heartbeat> heartbeat = {};
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

class RunRecorder final : public control::RunWitness {
public:
    RunRecorder(Composition& parts, std::ostream& diagnostics, const platform::StopRequest& stop)
        : parts_(parts), diagnostics_(diagnostics), stop_(stop) {}

    void RunBegins(const control::CopyRequest& request, const std::string& table) override try {
        parts_.Counts().copied = parts_.Counts().removed = 0;
        if (!IsRun(request, table)) return;
        run_ = std::make_unique<Run>(parts_, request);
        const platform::Date now = parts_.Machine().clock.Now();
        const std::string began = journal::Rfc3339({now, parts_.Host().UtcOffsetMinutes()});
        const platform::ProcessIdentity self = parts_.Host().Self();
        run_->entry = {.run = journal::History(run_->directory).NewRunId(now),
                       .table = table,
                       .method = MethodOf(request),
                       .program = platform::kProgram,
                       .by = self.user,
                       .began = began};
        run_->taken = journal::RunSheets(run_->directory)
                          .Take({.table = table,
                                 .run = run_->entry.run,
                                 .program = platform::kProgram,
                                 .method = run_->entry.method,
                                 .since = began,
                                 .by = self});
        run_->heartbeat.emplace(run_->taken.sheet.get(), parts_.Host(),
                                [this] { return parts_.Counts().copied.load(); });
    } catch (...) {
        run_.reset();
    }

    void TableTaken() override {
        if (run_ && run_->taken.sheet) run_->taken.sheet->LockIsTaken();
    }

    void RunEnded(control::Outcome outcome, const std::string& cause) override try {
        if (!run_) return;
        run_->heartbeat.reset();
        journal::RunEntry& entry = run_->entry;
        const auto& refused = parts_.Refused();
        entry.cause = platform::OneLine(refused ? refused->Text() : cause);
        entry.outcome = "failed";
        if (refused)
            entry.outcome = "guard";
        else if (outcome == control::Outcome::AlreadyInProgress)
            entry.outcome = "in use";
        else if (outcome == control::Outcome::Complete && cause.empty())
            entry.outcome = "ok";
        else if (stop_.Asked())
            entry.outcome = "stopped";
        entry.copied = parts_.Counts().copied;
        entry.removed = parts_.Counts().removed;
        entry.ended = journal::Rfc3339({parts_.Machine().clock.Now(), parts_.Host().UtcOffsetMinutes()});
        entry.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - run_->start).count();
        journal::History(run_->directory).Append(entry);
        run_->taken.sheet.reset();
        if (const std::string problem = run_->directory.Problem(); !problem.empty())
            diagnostics_ << runtime::DiagnosticLine(problem) << std::endl;
        run_.reset();
    } catch (...) {
        run_.reset();
    }

private:
    Composition& parts_;
    std::ostream& diagnostics_;
    const platform::StopRequest& stop_;
    std::unique_ptr<Run> run_;
};

}  // namespace

std::unique_ptr<control::RunWitness> RecordRuns(Composition& parts, std::ostream& diagnostics,
                                                const platform::StopRequest& stop) {
    return std::make_unique<RunRecorder>(parts, diagnostics, stop);
}

}  // namespace iqrx::hosting
