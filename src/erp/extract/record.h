// A record: one value per field of its table, answered by the field's getter.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "erp/erp.h"

namespace iqrx::erp::extract {

// What a field holds that a row does not carry: the empty text, 0 or a Null date.
platform::Value MissingValue(FieldKind kind);

class Record final : public erp::Record {
public:
    explicit Record(std::span<const FieldLayout> fields);  // empty

    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;
    std::span<const platform::Value> Values(const TableLayout& layout) const override;

    std::size_t Size() const { return values_.size(); }
    platform::Value& At(std::size_t field) { return values_[field]; }

    // The kind of change, for an element of the audit trail.
    bool inserted = false, updated = false, deleted = false;

private:
    std::span<const FieldLayout> fields_;
    std::vector<platform::Value> values_;
};

}  // namespace iqrx::erp::extract
