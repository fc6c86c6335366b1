// What is to travel next, in its order: statements, and rows that follow one another and go as one statement.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "platform/postgres/trips.h"
#include "platform/postgres/upserts.h"

namespace iqrx::platform::postgres {

struct Load {
    Entry entry = {};
    std::shared_ptr<const Prepared> statement = {};  // for one
    Parameters parameters = {};                      // of the first row
    std::shared_ptr<PreparedUpsert> upsert = {};     // of rows that may go with others
    std::unique_ptr<Arrays> rows = {};               // all of them
    bool touchesControlTable = false;
};

class Trip {
public:
    void Add(Load load);

    // Between the two, what is added stands or falls together. What is taken before the end leaves it to the
    // taker to keep what follows apart.
    void BeginUnit() { unit_ = Unit::Begun; }
    void EndUnit();

    std::size_t Rows() const { return rows_; }
    bool Empty() const { return rows_ == 0; }

    struct Content {
        std::vector<Load> whole, begun;  // begun: of a unit whose end is not there
    };
    Content Take();

private:
    enum class Unit { None, Begun, Open };
    void Append(Load load);
    void AppendBegun();

    std::vector<Load> loads_;
    std::size_t rows_ = 0, unitAt_ = 0;
    Unit unit_ = Unit::None;
    std::optional<Load> first_;  // of a unit: alone, it needs no bounds
};

}  // namespace iqrx::platform::postgres
