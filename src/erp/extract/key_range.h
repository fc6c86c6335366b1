// A range of a field's values, both ends included: numbers by value, everything else by character code. A
// text of code-127 characters alone, as many as the upper bound has or more, lies outside.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/table_reader.h"

namespace iqrx::erp::extract {

class KeyRange {
public:
    // The bounds of a number may be texts such as "0000" and "999.99"; an empty lower bound and an upper
    // bound of code-127 characters alone leave its side open. Raises RuntimeError for other texts.
    KeyRange(std::size_t field, FieldKind kind, const platform::Value& from, const platform::Value& to);

    // Whether the current row lies inside; a Null does not.
    bool Contains(const TableReader& row) const;
    bool Contains(std::string_view text) const;  // of a text field

private:
    bool ContainsNumber(const platform::Value& value) const;

    std::size_t field_;
    FieldKind kind_;
    std::string fromText_, toText_;
    double from_ = 0, to_ = 0;
};

using KeyRanges = std::vector<KeyRange>;
bool Contain(const KeyRanges& ranges, const TableReader& row);

// The current records of a table whose fields lie in all the ranges.
class SelectedRecords final : public RecordStream {
public:
    SelectedRecords(const std::filesystem::path& file, std::span<const FieldLayout> fields, KeyRanges ranges);
    bool Read(Record& record) override;

private:
    TableReader rows_;
    std::size_t fieldCount_;
    KeyRanges ranges_;
};

}  // namespace iqrx::erp::extract
