#include "erp/extract/key_range.h"

#include <algorithm>
#include <limits>

#include "platform/conversions.h"

namespace iqrx::erp::extract {

namespace {

constexpr char kHighestCharacter = '\x7f';

bool IsHighest(std::string_view text) {
    return !text.empty() && text.find_first_not_of(kHighestCharacter) == std::string_view::npos;
}

bool IsNumber(FieldKind kind) { return kind == FieldKind::Whole || kind == FieldKind::Real; }

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
    if (IsNumber(kind)) {
        from_ = NumberBound(from, true);
        to_ = NumberBound(to, false);
    } else {
        fromText_ = platform::ToText(from);
        toText_ = platform::ToText(to);
    }
}

bool KeyRange::Contains(const Rows& row) const {
    if (IsNumber(kind_)) {
        const Value value = row.Decode(field_);
        if (value.Is<platform::Null>()) return false;
        const double number = platform::ToDouble(value);
        return from_ <= number && number <= to_;
    }
    const std::string_view text = row.Text(field_);
    if (text < fromText_ || text > toText_) return false;
    return !IsHighest(text) || text.size() < toText_.size();
}

bool Contain(const KeyRanges& ranges, const Rows& row) {
    return std::ranges::all_of(ranges, [&](const KeyRange& range) { return range.Contains(row); });
}

}  // namespace iqrx::erp::extract
