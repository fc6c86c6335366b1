#include "erp/extract/record.h"

#include <algorithm>

#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

using platform::Value;

Value MissingValue(FieldKind kind) {
    switch (kind) {
        case FieldKind::Text:
            return std::string();
        case FieldKind::Whole:
            return platform::Long{0};
        case FieldKind::Real:
            return platform::Double{0};
        case FieldKind::Date:
            break;
    }
    return platform::Null();
}

Record::Record(std::span<const FieldLayout> fields) : fields_(fields) {
    values_.reserve(fields.size());
    for (const FieldLayout& field : fields) values_.push_back(MissingValue(field.kind));
}

Value Record::Invoke(std::string_view member, std::span<platform::Argument> arguments) {
    const auto field = std::ranges::find(fields_, member, &FieldLayout::getter);
    if (field == fields_.end()) RaiseNoSuchMember("The record", member);
    ExpectArguments(arguments, 0);
    return values_[static_cast<std::size_t>(field - fields_.begin())];
}

std::span<const Value> Record::Values(const TableLayout& layout) const {
    return layout.fields.data() == fields_.data() ? std::span<const Value>(values_) : std::span<const Value>();
}

}  // namespace iqrx::erp::extract
