// Rows turned into records, one at a time.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "erp/extract/record.h"
#include "erp/extract/rows.h"

namespace iqrx::erp::extract {

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
