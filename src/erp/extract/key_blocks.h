// Where a table's keys stand in its file, so that one record can be fetched without reading the whole of it.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/key_range.h"

namespace iqrx::erp::extract {

// Blocks of rows that follow each other, with the lowest and the highest first key of each: at most
// kMostBlocks, however long the file is. In a file that is in key order, a key lies in one block or two.
class KeyBlocks {
public:
    static constexpr std::size_t kMostBlocks = 16384;

    struct Block {
        CsvReader::Position start;
        std::uint64_t rows = 0;
        std::string lowest, highest;
    };

    // The first field is a text. Reads the whole file once.
    KeyBlocks(const std::filesystem::path& file, std::span<const FieldLayout> fields);

    std::vector<Block> Holding(const std::string& key) const;  // in the file's order

private:
    void Take(const TableReader& row, CsvReader::Position position);
    void MergePairs();

    std::vector<Block> blocks_;
    std::uint64_t rowsPerBlock_ = 1;
    bool inKeyOrder_ = true;
};

// The records of some blocks whose fields lie in all the ranges.
class RecordsInBlocks final : public RecordStream {
public:
    RecordsInBlocks(const std::filesystem::path& file, std::span<const FieldLayout> fields, KeyRanges ranges,
                    std::vector<KeyBlocks::Block> blocks);
    bool Read(Record& record) override;

private:
    bool NextRow();

    TableReader rows_;
    std::size_t fieldCount_;
    KeyRanges ranges_;
    std::vector<KeyBlocks::Block> blocks_;
    std::size_t nextBlock_ = 0;
    std::uint64_t rowsLeft_ = 0;
};

}  // namespace iqrx::erp::extract
