// Runs of rows in the file's order, in a few bytes each. There are at most kMostRuns: of more, every second
// one is joined to the one before, with the rows that lie between them.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

class RunList {
public:
    static constexpr std::size_t kMostRuns = 64 * 1024;

    void Add(const Rows::Run& run);  // one that follows the last run makes it longer
    std::vector<Rows::Run> All() const;

    std::size_t Size() const { return coded_.size() + sizeof *this; }  // in bytes

private:
    void Append(const Rows::Run& run);
    void JoinPairs();

    std::string coded_;  // the runs but the last: differences from the one before, seven bits a byte
    std::size_t count_ = 0;
    Rows::Run before_, last_;
};

}  // namespace iqrx::erp::extract
