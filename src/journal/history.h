// The history of runs: one line of JSON for each table that was copied or tried.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "journal/state_directory.h"
#include "journal/timestamp.h"

namespace iqrx::journal {

struct RunEntry {
    std::string run = {}, table = {};
    std::string method = {};             // "full" or "incremental"
    std::string program = {};            // "qrxctl copy --all --full"
    std::string by = {};                 // "anna", "tty1, anna"
    std::string outcome = {};            // "ok", "failed", "in use", "guard" or "stopped"
    std::string cause = {};              // one line; empty when all went well
    std::string began = {}, ended = {};  // RFC 3339
    std::optional<std::int64_t> copied = {}, removed = {}, rows = {};
    double seconds = 0;
    bool operator==(const RunEntry&) const = default;
};

// The lines that could not be read: cut by a crash, or written by something else.
struct Damage {
    std::int64_t lines = 0;
    std::vector<std::int64_t> places;  // the numbers of the first ten, from 1 on
};

class History {
public:
    explicit History(StateDirectory& directory) : directory_(directory) {}

    // In one write, on a line of its own whatever a crash has left. Raises nothing.
    void Append(const RunEntry& entry);

    // Hands over each run, oldest first, as a stream; false ends it. A history that does not exist is empty;
    // one that cannot be read raises RuntimeError.
    Damage ForEach(const std::function<bool(const RunEntry&)>& take) const;

    // "20261121-104032", followed by "-2", "-3" where another run has that one. Raises nothing.
    std::string NewRunId(platform::Date now);

    struct Pruned {
        std::int64_t removed = 0, kept = 0;
    };
    // Removes the runs that ended before the moment, and what is damaged among them; whatever is appended
    // meanwhile stays. Raises RuntimeError.
    Pruned Prune(const Timestamp& before);

private:
    StateDirectory& directory_;
};

}  // namespace iqrx::journal
