// A record: one value per field of its table, answered by the field's getter.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "erp/erp.h"

namespace iqrx::erp::extract {

// What a field answers that a row does not carry: the empty text, 0 or a Null date.
platform::Value MissingValue(FieldKind kind);

// The fields of a table's records, found by getter. Shared by the records of an enumeration.
class RecordShape {
public:
    explicit RecordShape(std::span<const FieldLayout> fields);

    std::span<const FieldLayout> Fields() const { return fields_; }
    // The field's place among Fields(), or -1.
    int FindGetter(std::string_view member) const;

private:
    std::size_t Slot(std::string_view member) const;

    std::span<const FieldLayout> fields_;
    std::vector<std::int16_t> slots_;  // open addressing; a power of two, at most half full
};

class Record final : public platform::Object {
public:
    explicit Record(std::shared_ptr<const RecordShape> shape);  // empty

    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;

    const platform::Value* Peek(std::string_view member) override;

    std::size_t Size() const { return values_.size(); }
    platform::Value& At(std::size_t field) { return values_[field]; }

    // The kind of change, for an element of the audit trail.
    bool inserted = false, updated = false, deleted = false;

private:
    std::shared_ptr<const RecordShape> shape_;
    std::vector<platform::Value> values_;
};

}  // namespace iqrx::erp::extract
