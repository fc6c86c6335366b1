// Upserts that are collected and sent together, as one text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/answers.h"

namespace iqrx::platform::odbc {

class OdbcConnection;

struct UpsertUnit {
    std::string update, insert;
    Answers* answers;
};
using UpsertUnits = std::deque<UpsertUnit>;

// Of each unit an update, and where it affected no row an insert.
std::string TextOf(const UpsertUnits& units);

struct UnitCounts {
    std::int32_t updated = 0, inserted = 0;
};
// Of so many units, from the counts of their statements: one where the update found a row, two where it did
// not. Nothing when there are too few or too many.
std::optional<std::vector<UnitCounts>> CountsOf(std::size_t units, const std::vector<std::int32_t>& counts);

class Upserts {
public:
    explicit Upserts(OdbcConnection& connection) : connection_(connection) {}

    void SetRowsPerTrip(std::size_t rows) { rowsPerTrip_ = rows; }
    bool AreCollected() const { return rowsPerTrip_ > 1; }
    bool IsEmpty() const { return units_.empty(); }

    // Sends them when they are as many as go together.
    void Add(UpsertUnit unit);
    // Sends them and tells their answers. Raises the error of the first that fails; those before it are in
    // the database, none of those after it is.
    void Send() {
        if (!IsEmpty()) SendAll();
    }
    // The same before a statement whose answer somebody waits for: what fails then is not its failure.
    void SendBefore(Answers& next);
    void Drop() { units_.clear(); }

private:
    void SendAll();
    void AllAtOnce(UpsertUnits& units);
    std::vector<UnitCounts> Together(const UpsertUnits& units);
    void OneByOne(UpsertUnits& units);

    OdbcConnection& connection_;
    std::size_t rowsPerTrip_ = 1;
    UpsertUnits units_;
};

}  // namespace iqrx::platform::odbc
