#include "erp/extract/key_range.h"

#include <algorithm>
#include <limits>

#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

using platform::Value;

constexpr char kHighestCharacter = '\x7f';

bool IsHighest(std::string_view text) {
    return !text.empty() && text.find_first_not_of(kHighestCharacter) == std::string_view::npos;
}

constexpr double kUnbounded = std::numeric_limits<double>::infinity();

double NumberBound(const Value& bound, bool lower) {
    if (bound.Is<std::string>()) {
        const std::string& text = bound.As<std::string>();
        if (lower && text.empty()) return -kUnbounded;
        if (!lower && IsHighest(text)) return kUnbounded;
    }
    return platform::ToDouble(bound);
}

}  // namespace

KeyRange::KeyRange(std::size_t field, FieldKind kind, const Value& from, const Value& to)
    : field_(field), kind_(kind) {
    if (kind == FieldKind::Whole || kind == FieldKind::Real) {
        from_ = NumberBound(from, true);
        to_ = NumberBound(to, false);
    } else {
        fromText_ = platform::ToText(from);
        toText_ = platform::ToText(to);
    }
}

bool KeyRange::Contains(const Rows& row) const {
    if (kind_ == FieldKind::Whole || kind_ == FieldKind::Real) return ContainsNumber(row.Decode(field_));
    return ContainsText(row.Text(field_));
}

bool KeyRange::ContainsText(std::string_view text) const {
    if (text < fromText_ || text > toText_) return false;
    return !IsHighest(text) || text.size() < toText_.size();
}

bool KeyRange::ContainsNumber(const Value& value) const {
    if (value.Is<platform::Null>()) return false;
    const double number = platform::ToDouble(value);
    return from_ <= number && number <= to_;
}

bool Contain(const KeyRanges& ranges, const Rows& row) {
    return std::all_of(ranges.begin(), ranges.end(),
                       [&](const KeyRange& range) { return range.Contains(row); });
}

}  // namespace iqrx::erp::extract
