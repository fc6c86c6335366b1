// Writes an ERP extract of realistic, repeatable data: for trying the copy out, for demonstrations and
// benchmarks.
#pragma once

#include <filesystem>

namespace iqrx::sample {

struct SampleSize {
    long orders = 1000;  // service orders at the start of the day; the master data grows with them
    long changes = 100;  // changes to service orders in the day's audit trail; 0: every trail is empty
    unsigned seed = 1;   // the same seed gives the same bytes on every machine
};

// The day of the audit trail. The current records are those of its morning, so that a full copy followed by
// an incremental copy over the day inserts, updates and deletes.
inline constexpr const char* kSampleDay = "2025-06-20";

// Fills the directory, which is created when it is missing, with a file of current records and an audit trail
// for every table and with calendars.csv. Files of the same names are replaced. Memory does not grow with the
// size. Raises platform::RuntimeError when a number is negative or too large for an order number, or when a
// file cannot be written.
void WriteSample(const std::filesystem::path& directory, const SampleSize& size);

}  // namespace iqrx::sample
