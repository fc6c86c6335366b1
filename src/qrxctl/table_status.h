// What is known of the tables: by the database, by the run sheets, by the history and by the ledger.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "journal/history.h"
#include "journal/ledger.h"
#include "journal/run_sheet.h"
#include "qrxctl/command.h"

namespace iqrx::qrxctl {

enum class Lock {
    Free,
    Copying,  // by a living process
    Left,     // locked by a process that is gone
    Unknown   // locked, and nothing is proved
};

struct TableStatus {
    std::string table = {};
    std::string problem = {};  // why it cannot be read: the rest is unknown then
    bool isMissing = false;    // that is the problem
    std::optional<std::int64_t> rows = {};
    bool isCounted = false;                         // just now; otherwise as the last run left them
    bool isMore = false;                            // there are more rows than that
    std::int64_t blanked = 0;                       // rows whose columns beside the trail are empty
    std::optional<platform::Date> lastUpdate = {};  // local time after a full copy, UTC after an incremental one
    Lock lock = Lock::Free;
    journal::SheetText holder = {};
    std::optional<journal::SignOfLife> sign = {};    // the holder's last one
    std::optional<journal::RunEntry> lastCopy = {};  // that went well
    std::optional<journal::RunEntry> lastRun = {};   // whatever came of it; not the ones that found it in use
    std::map<std::string, std::int64_t> runs = {};   // by their outcome
    bool mayBeBlanked = true;  // since the last full copy an incremental one may have changed something
    std::optional<journal::TableLedger> read = {};
};

struct StatusQuestion {
    std::vector<std::string> tables = {};  // as they were typed; none: all
    bool countAll = false;                 // however many rows there are
};

struct Overview {
    std::string database;
    journal::Timestamp now;
    std::vector<TableStatus> tables = {};
    std::vector<std::string> catalog = {};  // every table that could have been asked for
    std::string booksProblem = {};          // of the state directory
    journal::Damage damage = {};            // of the history
    std::string historyFile = {};
};

// Raises RuntimeError when neither the database nor its catalog can be read, UsageError for a table that is unknown.
Overview ReadOverview(hosting::Composition& parts, const Options& options, const StatusQuestion& question);

// When the last copy that went well began; nothing for a table of which no run is known.
std::optional<journal::Timestamp> BeganAt(const std::optional<journal::RunEntry>& entry);
// Of the sheet's holder; nothing when the sheet does not say since when.
std::optional<std::int64_t> SecondsHeld(const TableStatus& status, const journal::Timestamp& now);
// Since the holder gave it; nothing while he has given none.
std::optional<std::int64_t> SecondsSinceSign(const std::optional<journal::SignOfLife>& sign,
                                             const journal::Timestamp& now);
std::int64_t RowsPerSecond(const journal::SignOfLife& sign);
std::int64_t GapSeconds(const TableStatus& status);

}  // namespace iqrx::qrxctl
