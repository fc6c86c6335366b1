#include "erp/extract/key_blocks.h"

#include <algorithm>
#include <iterator>

namespace iqrx::erp::extract {

KeyBlocks::KeyBlocks(const std::filesystem::path& file, std::span<const FieldLayout> fields) {
    TableReader rows(file, fields.first(1));
    while (rows.Next()) Take(rows, rows.Csv().RowPosition());
    inKeyOrder_ = std::adjacent_find(blocks_.begin(), blocks_.end(), [](const Block& one, const Block& next) {
                      return one.highest > next.lowest;
                  }) == blocks_.end();
}

void KeyBlocks::Take(const TableReader& row, CsvReader::Position position) {
    const std::string_view key = row.Text(0);
    if (blocks_.empty() || blocks_.back().rows == rowsPerBlock_) {
        if (blocks_.size() == kMostBlocks) MergePairs();
        blocks_.push_back({position, 0, std::string(key), std::string(key)});
    }
    Block& block = blocks_.back();
    ++block.rows;
    if (key < block.lowest) block.lowest = key;
    if (key > block.highest) block.highest = key;
}

void KeyBlocks::MergePairs() {
    for (std::size_t i = 0; i < blocks_.size() / 2; ++i) {
        Block merged = std::move(blocks_[2 * i]);
        Block& next = blocks_[2 * i + 1];
        merged.rows += next.rows;
        merged.lowest = std::min(merged.lowest, next.lowest);
        merged.highest = std::max(merged.highest, next.highest);
        blocks_[i] = std::move(merged);
    }
    blocks_.resize(blocks_.size() / 2);
    rowsPerBlock_ *= 2;
}

std::vector<KeyBlocks::Block> KeyBlocks::Holding(const std::string& key) const {
    auto first = blocks_.begin(), end = blocks_.end();
    if (inKeyOrder_) {
        first = std::partition_point(first, end, [&](const Block& block) { return block.highest < key; });
        end = std::partition_point(first, end, [&](const Block& block) { return block.lowest <= key; });
    }
    std::vector<Block> holding;
    std::copy_if(first, end, std::back_inserter(holding),
                 [&](const Block& block) { return block.lowest <= key && key <= block.highest; });
    return holding;
}

RecordsInBlocks::RecordsInBlocks(const std::filesystem::path& file, std::span<const FieldLayout> fields,
                                 KeyRanges ranges, std::vector<KeyBlocks::Block> blocks)
    : rows_(file, fields), fieldCount_(fields.size()), ranges_(std::move(ranges)), blocks_(std::move(blocks)) {}

bool RecordsInBlocks::NextRow() {
    if (rowsLeft_ == 0) {
        if (nextBlock_ == blocks_.size()) return false;
        rows_.Csv().Seek(blocks_[nextBlock_].start);
        rowsLeft_ = blocks_[nextBlock_++].rows;
    }
    --rowsLeft_;
    return rows_.Next();
}

bool RecordsInBlocks::Read(Record& record) {
    do {
        if (!NextRow()) return false;
    } while (!Contain(ranges_, rows_));
    for (std::size_t field = 0; field < fieldCount_; ++field) rows_.Decode(field, record.At(field));
    return true;
}

}  // namespace iqrx::erp::extract
