// The ledger: up to which local moment the audit trail of each table was really read, and what was left out.
// The trail's stamps are local time, and so are all moments here.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "journal/state_directory.h"

namespace iqrx::journal {

struct Stretch {
    platform::Date from, to;
    bool operator==(const Stretch&) const = default;
};

struct TableLedger {
    platform::Date readTo;
    std::vector<Stretch> gaps;  // in order, none touching another, all before readTo
    // When this was noted, by the clock, by the machine's uptime and by its start: together they tell whether
    // the clock was set since.
    platform::Date noted;
    std::chrono::seconds uptime{0};
    std::string boot;
    bool operator==(const TableLedger&) const = default;
};

// Raises nothing. Safe to use in several threads at once. `now` is the clock's local time, `start` that of
// the request's begin.
class Ledger {
public:
    explicit Ledger(StateDirectory& directory) : directory_(directory) {}

    // As noted by whichever process, read anew by each call. A damaged ledger counts as empty, and is the
    // directory's problem; the next write keeps it beside as ledger.json.damaged.
    std::map<std::string, TableLedger> All() const;
    std::optional<TableLedger> Of(const std::string& table) const;

    // Where the next incremental copy has to begin so that no change is passed over, even when the clock was
    // set back or was ahead since; never after `now`. Nothing: no copy was noted, so that the control table's
    // own last update holds.
    std::optional<platform::Date> NextFrom(const std::string& table, platform::Date now) const;

    // After a full copy that went well: everything up to `readTo`, the earlier of its begin and the export's
    // moment, is in the table, and nothing later is, whatever was read before.
    void ReadInFull(const std::string& table, platform::Date readTo, platform::Date now);
    // After an incremental copy that went well and asked for [from, readTo]. What it skipped becomes a gap;
    // gaps that it covers close. Without an earlier note, what was read begins at `from`.
    void ReadTrail(const std::string& table, Stretch read, platform::Date now);

private:
    void Change(const std::string& table, const std::function<TableLedger(std::optional<TableLedger>)>& change);

    StateDirectory& directory_;
};

}  // namespace iqrx::journal
