// A range of a field's values, both ends included: numbers by value, everything else by character code. A
// text that is nothing but code-127 characters, as many as the upper bound has or more, lies outside.
#pragma once

#include <string>
#include <vector>

#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

class KeyRange {
public:
    // The bounds of a number may be texts such as "0000" and "999.99"; an empty lower bound and an upper
    // bound of nothing but code-127 characters leave their side open. Raises RuntimeError for other texts.
    KeyRange(std::size_t field, FieldKind kind, const Value& from, const Value& to);

    // Whether the current row lies inside; a Null does not.
    bool Contains(const Rows& row) const;

private:
    std::size_t field_;
    FieldKind kind_;
    std::string fromText_, toText_;
    double from_ = 0, to_ = 0;
};

using KeyRanges = std::vector<KeyRange>;
bool Contain(const KeyRanges& ranges, const Rows& row);

}  // namespace iqrx::erp::extract
