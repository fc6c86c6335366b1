#include "erp/extract/key_blocks.h"

#include <algorithm>

namespace iqrx::erp::extract {

KeyBlocks::KeyBlocks(Rows rows) {
    while (rows.Next()) Take(rows);
    inKeyOrder_ = std::adjacent_find(blocks_.begin(), blocks_.end(), [](const Block& one, const Block& next) {
                      return one.highest > next.lowest;
                  }) == blocks_.end();
}

void KeyBlocks::Take(const Rows& row) {
    const std::string_view key = row.Text(0);
    if (blocks_.empty() || blocks_.back().rows == rowsPerBlock_) {
        if (blocks_.size() == kMostBlocks) MergePairs();
        blocks_.push_back({row.Place(), 0, std::string(key), std::string(key)});
    }
    Block& block = blocks_.back();
    block.place.end = row.Place().end;
    ++block.rows;
    if (key < block.lowest) block.lowest = key;
    if (key > block.highest) block.highest = key;
}

void KeyBlocks::MergePairs() {
    for (std::size_t i = 0; i < blocks_.size() / 2; ++i) {
        Block merged = std::move(blocks_[2 * i]);
        Block& next = blocks_[2 * i + 1];
        merged.place.end = next.place.end;
        merged.rows += next.rows;
        merged.lowest = std::min(merged.lowest, next.lowest);
        merged.highest = std::max(merged.highest, next.highest);
        blocks_[i] = std::move(merged);
    }
    blocks_.resize(blocks_.size() / 2);
    rowsPerBlock_ *= 2;
}

std::vector<Rows::Run> KeyBlocks::Holding(const std::string& key) const {
    auto first = blocks_.begin(), end = blocks_.end();
    if (inKeyOrder_) {
        first = std::partition_point(first, end, [&](const Block& block) { return block.highest < key; });
        end = std::partition_point(first, end, [&](const Block& block) { return block.lowest <= key; });
    }
    std::vector<Rows::Run> holding;
    for (; first != end; ++first)
        if (first->lowest <= key && key <= first->highest) holding.push_back(first->place);
    return holding;
}

}  // namespace iqrx::erp::extract
