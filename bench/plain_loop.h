// What a copy is measured against: a loop that executes prepared statements with bound values in one transaction.
#pragma once

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace iqrx::bench {

using Row = std::vector<std::string>;

// A statement, and which cell of a row each of its parameters takes.
struct PlainStatement {
    std::string sql;
    std::vector<std::size_t> cells;
};

// What something took: by the clock on the wall, and of the processor.
struct Seconds {
    double wall = 0;
    double cpu = 0;
};
class Stopwatch {
public:
    Stopwatch();
    Seconds Elapsed() const;

private:
    std::chrono::steady_clock::time_point wall_;
    std::clock_t cpu_;
};

// Executes `first` for each row and, when it affected none, `otherwise`; what it took from BEGIN to COMMIT.
Seconds RunPlainLoop(const std::filesystem::path& database, const std::vector<Row>& rows,
                     const PlainStatement& first, const PlainStatement& otherwise);

// The two statements of an upsert by key; the first `keys` columns are the key.
PlainStatement PlainUpdate(const std::string& table, const std::vector<std::string>& columns, std::size_t keys);
PlainStatement PlainInsert(const std::string& table, const std::vector<std::string>& columns);

}  // namespace iqrx::bench
