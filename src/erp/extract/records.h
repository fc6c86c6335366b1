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

// Fills the record with the next row; false at the end. Raises RuntimeError for a malformed row.
using RecordStream = std::function<bool(Record& record)>;

// A stream of the rows that `keep` accepts.
class Records {
public:
    using Keep = std::function<bool(const Rows& row)>;

    // `atEnd` is called once, when there are no more rows.
    Records(std::shared_ptr<Rows> rows, Keep keep, std::function<void()> atEnd = {})
        : rows_(std::move(rows)), keep_(std::move(keep)), atEnd_(std::move(atEnd)) {}
    Records(Rows rows, Keep keep, std::function<void()> atEnd = {})
        : Records(std::make_shared<Rows>(std::move(rows)), std::move(keep), std::move(atEnd)) {}
    bool operator()(Record& record);

private:
    std::shared_ptr<Rows> rows_;
    Keep keep_;
    std::function<void()> atEnd_;
};

// An enumeration over a stream. It looks one record ahead, and fills a record again once nobody else holds
// it: a caller that keeps a record keeps its values.
class Elements {
public:
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
    platform::Value Invoke(std::string_view member, std::span<platform::Argument> arguments) override;

private:
    Elements elements_;
};

}  // namespace iqrx::erp::extract
