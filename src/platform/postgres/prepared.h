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
    ~Prepared() { unused_->push_back(name_); }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    const std::string& Name() const { return name_; }
    const std::vector<Oid>& Types() const { return types_; }  // of its places

private:
    const std::string name_;
    const std::vector<Oid> types_;
    const std::shared_ptr<Unused> unused_;
};

Value Cell(const PGresult* rows, int row, int column);

}  // namespace iqrx::platform::postgres
