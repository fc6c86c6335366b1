// Where a table's keys stand in its file, so that one record can be fetched without reading the whole of it.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

// Blocks of rows that follow each other, with the lowest and the highest first key of each: at most
// kMostBlocks, however long the file is. In a file that is in key order, a key lies in one block or two.
class KeyBlocks {
public:
    static constexpr std::size_t kMostBlocks = 16384;

    // The first field is a text. Reads all of the rows.
    explicit KeyBlocks(Rows rows);

    // The blocks that may hold the key, in the file's order.
    std::vector<Rows::Run> Holding(const std::string& key) const;

private:
    struct Block {
        Rows::Run place;
        std::uint64_t rows = 0;
        std::string lowest, highest;
    };

    void Take(const Rows& row);
    void MergePairs();

    std::vector<Block> blocks_;
    std::uint64_t rowsPerBlock_ = 1;
    bool inKeyOrder_ = true;
};

}  // namespace iqrx::erp::extract
