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
    // What the server knows of it: nothing yet, its name, or that it does not take it.
    enum class Told { Nothing, Name, Refused };

    Prepared(std::string name, std::vector<Oid> types, std::shared_ptr<Unused> unused)
        : name_(std::move(name)), types_(std::move(types)), unused_(std::move(unused)), told_(Told::Name) {}
    // One that the server is told with its first use.
    Prepared(std::string name, std::string sql, std::vector<Oid> types, std::shared_ptr<Unused> unused)
        : name_(std::move(name)), sql_(std::move(sql)), types_(std::move(types)), unused_(std::move(unused)) {}
    // One that is sent as it stands: nothing is known of its places.
    Prepared(std::string sql, std::size_t places) : sql_(std::move(sql)), types_(places) {}
    ~Prepared() {
        if (told_ == Told::Name) unused_->push_back(name_);
    }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    bool IsKnown() const { return !name_.empty(); }           // to the server, at the latest with its use
    const std::string& Sql() const { return sql_; }           // of one that has to be told or sent
    const std::string& Name() const { return name_; }         // of one that is known
    const std::vector<Oid>& Types() const { return types_; }  // of its places

    bool IsToBeTold() const { return IsKnown() && told_ == Told::Nothing; }
    bool IsRefused() const { return told_ == Told::Refused; }
    void Become(Told told) const { told_ = told; }

private:
    const std::string name_, sql_;
    const std::vector<Oid> types_;
    const std::shared_ptr<Unused> unused_;
    mutable Told told_ = Told::Nothing;
};

Value Cell(const PGresult* rows, int row, int column);

}  // namespace iqrx::platform::postgres
