// One table's request, through the handler that the service uses, and what the tool puts around it: run
// sheet, ledger, guard, history.
#pragma once

#include <optional>
#include <string>

#include "qrxctl/books.h"
#include "qrxctl/copy_options.h"
#include "qrxctl/copy_result.h"
#include "qrxctl/diagnostics.h"
#include "qrxctl/undo_file.h"

namespace iqrx::qrxctl {

// What all jobs of a run share; borrowed.
struct CopyRun {
    const Workplace& place;
    const CopyOptions& copy;
    Books& books;
    std::string id;  // "20261121-104032"
};

// Where an incremental copy that begins then reads the trail from; nothing: at the control table's last update.
std::optional<platform::Date> WindowBegin(const CopyOptions& copy, const journal::Ledger& ledger,
                                          const std::string& table, const journal::Begin& begin);

// Copies tables one after the other; a run with several jobs has one of these for each of its threads.
class CopyJob : control::RunWitness {
public:
    // Raises RuntimeError when the table catalog cannot be loaded.
    explicit CopyJob(const CopyRun& run);

    // Raises nothing but what makes every further table pointless.
    TableResult Copy(const std::string& table, bool full);

    platform::watch::RowCounts& Counts() { return parts_.Counts(); }
    std::string Now() { return qrxctl::Now(parts_); }

private:
    using Moment = std::optional<platform::Date>;

    void RunBegins(const control::CopyRequest&, const std::string&) override {}
    void TableTaken() override {
        if (sheet_) sheet_->LockIsTaken();
    }
    void RunEnded(control::Outcome, const std::string&) override {}

    bool TakeOver(const journal::SheetState& found, TableResult& result);
    Moment FromLastUpdate(platform::Date lastUpdate, const journal::Begin& begin);
    void Request(const std::string& table, TableResult& result);
    void Judge(TableResult& result, control::Outcome outcome);
    void NoteStop(TableResult& result) const;
    Moment ExportMoment(const std::string& table, bool full, const journal::Begin& begin);
    void NoteWhatWasRead(const TableResult& result, Moment from, Moment exported, const journal::Begin& begin);
    void Record(const TableResult& result, const std::string& began);
    void SetLastUpdate(runtime::DatabaseSession& session, const std::string& table, Moment moment);

    hosting::Surroundings Surroundings();

    const CopyRun& run_;
    UndoFile undo_;
    Diagnostics diagnostics_;
    hosting::Composition parts_;
    control::Process process_;
    journal::RunSheet* sheet_ = nullptr;  // of the table that is being copied; null: none is kept
};

}  // namespace iqrx::qrxctl
