// What the state of a table means to whoever is responsible for it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qrxctl/table_status.h"

namespace iqrx::qrxctl {

struct Finding {
    enum class Word { Wrong, Note };
    Word word;
    std::string state;  // of the table, in a few letters
    std::string text;   // what is so
    std::string step;   // what to do; "{}" stands for the table
    ExitCode code = kAllWell;
};

struct Judgement {
    const TableStatus* status;
    std::vector<Finding> findings;  // the worst first

    std::string State(const journal::Timestamp& now) const;
    bool IsWrong() const { return !findings.empty() && findings.front().word == Finding::Word::Wrong; }
};

// A table is too old when its last copy is older than `maxAge` seconds. Borrows the overview.
std::vector<Judgement> Judge(const Overview& overview, std::optional<std::int64_t> maxAge);

ExitCode CodeOf(const std::vector<Judgement>& judgements);

// How long ago a table was copied. Of one that no run is known of, the least that the last update allows,
// since nobody knows its zone.
std::optional<std::int64_t> Age(const TableStatus& status, const journal::Timestamp& now);

// "wrong" and "note", each with its next step; equal ones of several tables once. With what the books
// themselves have to say.
std::string FindingLines(const Overview& overview, const std::vector<Judgement>& judgements, bool wrongOnly);

}  // namespace iqrx::qrxctl
