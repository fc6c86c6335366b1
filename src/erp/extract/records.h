// Records, one value per field of their table, answered by the field's getter; and rows turned into records,
// one at a time.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "erp/erp.h"
#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

class Record final : public erp::Record {
public:
    explicit Record(std::span<const FieldLayout> fields);  // empty

    Value Invoke(std::string_view member, std::span<Argument> arguments) override;
    std::span<const Value> Values(const TableLayout& layout) const override;

    std::size_t Size() const { return values_.size(); }
    Value& At(std::size_t field) { return values_[field]; }

    // The kind of change, for an element of the audit trail.
    bool inserted = false, updated = false, deleted = false;

private:
    std::span<const FieldLayout> fields_;
    std::vector<Value> values_;
};

// Fills the record with the next row; false at the end. Raises RuntimeError for a malformed row.
using RecordStream = std::function<bool(Record& record)>;

// A stream of the rows that `keep` accepts. `atEnd` is called once, when there are no more rows.
using Keep = std::function<bool(const Rows& row)>;
RecordStream RecordsOf(std::shared_ptr<Rows> rows, Keep keep, std::function<void()> atEnd = {});

// An enumeration over a stream. It looks one record ahead, and fills a record again once nobody else holds
// it: a caller that keeps a record keeps its values.
class Elements {
public:
    Elements() : ended_(true) {}  // none
    Elements(RecordStream stream, std::span<const FieldLayout> fields)
        : stream_(std::move(stream)), fields_(fields) {}

    bool HasMore();
    std::shared_ptr<Record> Next();  // raises RuntimeError after the last

private:
    std::shared_ptr<Record> FreeRecord();

    RecordStream stream_;
    std::span<const FieldLayout> fields_;
    std::vector<std::shared_ptr<Record>> used_;
    std::shared_ptr<Record> ahead_;
    bool ended_ = false;
};

// hasMoreElements() and nextElement().
class Enumerator final : public platform::Object {
public:
    explicit Enumerator(Elements elements) : elements_(std::move(elements)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override;

private:
    Elements elements_;
};

}  // namespace iqrx::erp::extract
