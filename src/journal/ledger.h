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

// The begin of a request: the clock's local time, and the machine's uptime at the same moment.
struct Begin {
    platform::Date local = {};
    std::chrono::seconds uptime{0};
    bool operator==(const Begin&) const = default;
};

struct TableLedger {
    platform::Date readTo = {};
    std::vector<Stretch> gaps = {};  // in order, none touching another
    // The begin of the last request that was noted, and the machine's start before it: together they tell
    // whether the clock was set since.
    Begin noted = {};
    std::string boot = {};
    bool operator==(const TableLedger&) const = default;
};

// Raises nothing. Safe to use in several threads at once.
class Ledger {
public:
    explicit Ledger(StateDirectory& directory) : directory_(directory) {}

    // As noted by whichever process, read anew by each call. A damaged ledger counts as empty, and is the
    // directory's problem; the next write keeps it beside as ledger.json.damaged.
    std::map<std::string, TableLedger> All() const;
    std::optional<TableLedger> Of(const std::string& table) const;

    Begin BeginAt(platform::Date now) const;  // to be called just before the request
    // Where the incremental copy that begins then has to read from so that no change is passed over, even
    // when the clock was set back or was ahead since; never after its begin. Nothing: no copy was noted, so
    // that the control table's own last update holds.
    std::optional<platform::Date> NextFrom(const std::string& table, const Begin& begin) const;

    // After a full copy that went well: everything up to `readTo`, the earlier of its begin and the export's
    // moment, is in the table, and nothing later is, whatever was read before.
    void ReadInFull(const std::string& table, platform::Date readTo, const Begin& begin);
    // After an incremental copy that went well and asked for `read`, which ends at the earlier of its begin
    // and the export's moment. What it skipped becomes a gap; gaps that it covers close. Without an earlier
    // note, what was read begins where it did.
    void ReadTrail(const std::string& table, const Stretch& read, const Begin& begin);

private:
    using Change = std::function<TableLedger(const TableLedger*)>;  // null: nothing was noted
    void Note(const std::string& table, const Change& change);

    StateDirectory& directory_;
};

}  // namespace iqrx::journal
