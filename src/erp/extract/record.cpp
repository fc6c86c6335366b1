#include "erp/extract/record.h"

#include <bit>

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

RecordShape::RecordShape(std::span<const FieldLayout> fields)
    : fields_(fields), slots_(std::bit_ceil(2 * fields.size() + 2), -1) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
        auto& slot = slots_[Slot(fields[i].getter)];
        if (slot < 0) slot = static_cast<std::int16_t>(i);
    }
}

int RecordShape::FindGetter(std::string_view member) const {
    // A table asks by the very names that the layout was made of, which are the same place in memory.
    for (std::size_t i = 0; i < fields_.size(); ++i)
        if (fields_[i].getter.data() == member.data() && fields_[i].getter.size() == member.size())
            return static_cast<int>(i);
    return slots_[Slot(member)];
}

// The slot that holds the getter, or the free one where it would stand.
std::size_t RecordShape::Slot(std::string_view member) const {
    constexpr std::size_t kLettersThatDiffer = 7;  // getters begin alike: "getSer..."
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = member.size() * 5;
    if (member.size() >= kLettersThatDiffer)
        slot += static_cast<unsigned char>(member[3]) * 3U + static_cast<unsigned char>(member[6]) * 7U +
                static_cast<unsigned char>(member[member.size() / 2]) * 11U +
                static_cast<unsigned char>(member.back());
    for (slot &= mask; slots_[slot] >= 0; slot = (slot + 1) & mask)
        if (fields_[static_cast<std::size_t>(slots_[slot])].getter == member) break;
    return slot;
}

Record::Record(std::shared_ptr<const RecordShape> shape) : shape_(std::move(shape)) {
    values_.reserve(shape_->Fields().size());
    for (const FieldLayout& field : shape_->Fields()) values_.push_back(MissingValue(field.kind));
}

Value Record::Invoke(std::string_view member, std::span<platform::Argument> arguments) {
    const Value* value = Peek(member);
    if (!value) RaiseNoSuchMember("The record", member);
    ExpectArguments(arguments, 0);
    return *value;
}

const Value* Record::Peek(std::string_view member) {
    const int field = shape_->FindGetter(member);
    return field < 0 ? nullptr : &values_[static_cast<std::size_t>(field)];
}

}  // namespace iqrx::erp::extract
