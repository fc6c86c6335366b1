// An update, and the insert where it finds no row, as one statement.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialect/translator.h"
#include "platform/postgres/prepared.h"

namespace iqrx::platform::postgres {

// Its row: how many the update found, and how many the insert then wrote. The places of the update come
// first. Nothing when they are not an UPDATE and an INSERT of one row into the same table.
std::optional<std::string> UpsertOf(const dialect::Translation& update, const dialect::Translation& insert);

// What was prepared, by the two that it does the work of.
class Upserts {
public:
    using Kept = std::shared_ptr<const Prepared>;
    struct Pair {
        Kept update, insert, both;  // both: null when the server does not take it
    };

    const Pair* Find(const Kept& update, const Kept& insert) const;
    const Pair& Keep(Pair pair);
    void Forget() { pairs_.clear(); }

private:
    std::vector<Pair> pairs_;
};

}  // namespace iqrx::platform::postgres
