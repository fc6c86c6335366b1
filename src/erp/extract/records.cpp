#include "erp/extract/records.h"

#include <algorithm>
#include <utility>

#include "erp/extract/late_bound.h"

namespace iqrx::erp::extract {

namespace {

// The caller's current record, the one that it assigns next, and one that it may set aside.
constexpr std::size_t kRecordsKept = 3;

// What a field holds that a row does not carry: the empty text, 0 or a Null date.
Value MissingValue(FieldKind kind) {
    if (kind == FieldKind::Text) return std::string();
    if (kind == FieldKind::Whole) return Long{0};
    if (kind == FieldKind::Real) return platform::Double{0};
    return platform::Null();
}

}  // namespace

Record::Record(std::span<const FieldLayout> fields) : fields_(fields) {
    values_.reserve(fields.size());
    for (const FieldLayout& field : fields) values_.push_back(MissingValue(field.kind));
}

Value Record::Invoke(std::string_view member, std::span<Argument> arguments) {
    const auto field = std::ranges::find(fields_, member, &FieldLayout::getter);
    if (field == fields_.end()) RaiseNoSuchMember("The record", member);
    ExpectArguments(arguments, 0);
    return values_[static_cast<std::size_t>(field - fields_.begin())];
}

std::span<const Value> Record::Values(const TableLayout& layout) const {
    return layout.fields.data() == fields_.data() ? std::span<const Value>(values_) : std::span<const Value>();
}

RecordStream RecordsOf(std::shared_ptr<Rows> rows, Keep keep, std::function<void()> atEnd) {
    return [rows = std::move(rows), keep = std::move(keep), atEnd = std::move(atEnd)](Record& record) mutable {
        do {
            if (rows->Next()) continue;
            if (const auto tell = std::exchange(atEnd, nullptr)) tell();
            return false;
        } while (!keep(*rows));
        rows->Decode(record);
        return true;
    };
}

bool Elements::HasMore() {
    if (ahead_ || ended_) return !ended_;
    auto record = FreeRecord();
    if (stream_(*record))
        ahead_ = std::move(record);
    else
        ended_ = true;
    return !ended_;
}

std::shared_ptr<Record> Elements::Next() {
    if (!HasMore()) Raise(platform::kInvalidProcedureCall, "There are no more elements");
    return std::exchange(ahead_, nullptr);
}

std::shared_ptr<Record> Elements::FreeRecord() {
    for (const auto& record : used_)
        if (record.use_count() == 1) return record;
    auto record = std::make_shared<Record>(fields_);
    if (used_.size() < kRecordsKept) used_.push_back(record);
    return record;
}

Value Enumerator::Invoke(std::string_view member, std::span<Argument> arguments) {
    ExpectArguments(arguments, 0);
    if (member == "hasMoreElements") return elements_.HasMore();
    if (member == "nextElement") return ObjectRef(elements_.Next());
    RaiseNoSuchMember("The enumerator", member);
}

}  // namespace iqrx::erp::extract
