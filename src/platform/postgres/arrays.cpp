#include "platform/postgres/arrays.h"

#include <algorithm>
#include <array>
#include <optional>

#include "platform/postgres/types.h"

namespace iqrx::platform::postgres {

namespace {

constexpr std::uint32_t kDimensions = 1, kFirstIndex = 1, kNullsLength = 0xFFFFFFFF;
constexpr int kBinary = 1;
constexpr std::size_t kHeadSize = 5 * sizeof(std::uint32_t);

// The network's order, the highest byte first.
void Put(char* to, std::uint32_t number) {
    for (int i = 3; i >= 0; --i, number >>= 8) to[i] = static_cast<char>(number & 0xFF);
}

void Append(std::string& cells, std::uint32_t number) {
    std::array<char, sizeof number> bytes;
    Put(bytes.data(), number);
    cells.append(bytes.data(), bytes.size());
}

void PutHead(char* to, bool hasNulls, std::size_t rows) {
    std::uint32_t part = 0;
    for (const std::uint32_t number : {kDimensions, std::uint32_t{hasNulls}, std::uint32_t{kText},
                                       static_cast<std::uint32_t>(rows), kFirstIndex})
        Put(to + sizeof number * part++, number);
}

bool IsEachTheSame(const Column& column, const Parameters& row) {
    return std::ranges::all_of(
        column.places, [&](std::size_t place) { return row.At(place) == row.At(column.places.front()); });
}

std::string KeyOf(const std::vector<Column>& columns, const Parameters& row) {
    std::string key;
    for (const Column& column : columns) {
        if (!column.isKey) continue;
        const auto text = row.At(column.places.front());
        key.append(text.value_or("")).push_back(text ? '\0' : '\1');
    }
    return key;
}

}  // namespace

Arrays::Arrays(const std::vector<Column>& columns)
    : columns_(columns), cells_(columns.size(), std::string(kHeadSize, '\0')), hasNulls_(columns.size()) {}

bool Arrays::Add(const Parameters& row) {
    if (!std::ranges::all_of(columns_, [&](const Column& column) { return IsEachTheSame(column, row); }) ||
        !keys_.insert(KeyOf(columns_, row)).second)
        return false;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const auto text = row.At(columns_[i].places.front());
        Append(cells_[i], text ? static_cast<std::uint32_t>(text->size()) : kNullsLength);
        if (text) cells_[i].append(*text);
        if (!text) hasNulls_[i] = 1;
    }
    ++rows_;
    return true;
}

const Arrays::Values& Arrays::Ready() {
    values_ = {};
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        PutHead(cells_[i].data(), hasNulls_[i] != 0, rows_);
        values_.starts.push_back(cells_[i].data());
        values_.sizes.push_back(static_cast<int>(cells_[i].size()));
        values_.formats.push_back(kBinary);
    }
    return values_;
}

}  // namespace iqrx::platform::postgres
