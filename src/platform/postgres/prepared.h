// A statement that the server keeps under a name, and the rows of its answers.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/postgres/handles.h"
#include "platform/value.h"

namespace iqrx::platform::postgres {

// Names of statements that nobody uses any more; the server forgets them when the next one is prepared.
using Unused = std::vector<std::string>;

class Prepared {
public:
    Prepared(std::string name, std::vector<Oid> types, std::shared_ptr<Unused> unused)
        : name_(std::move(name)), types_(std::move(types)), unused_(std::move(unused)) {}
    // One that the server has not seen: nothing is known of its places.
    Prepared(std::string sql, std::size_t places) : sql_(std::move(sql)), types_(places) {}
    ~Prepared() {
        if (unused_) unused_->push_back(name_);
    }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    bool IsKnown() const { return sql_.empty(); }             // to the server
    const std::string& Sql() const { return sql_; }           // of one that is not
    const std::string& Name() const { return name_; }         // of one that is
    const std::vector<Oid>& Types() const { return types_; }  // of its places

private:
    const std::string name_, sql_;
    const std::vector<Oid> types_;
    const std::shared_ptr<Unused> unused_;
};

Value Cell(const PGresult* rows, int row, int column);

}  // namespace iqrx::platform::postgres
