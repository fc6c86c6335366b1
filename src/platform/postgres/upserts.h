// An update, and the insert where it finds no row, as one statement.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dialect/translator.h"
#include "platform/postgres/arrays.h"
#include "platform/postgres/prepared.h"

namespace iqrx::platform::postgres {

// Of the transaction: many rows are found one after the other by their keys, however many the table had when
// the statement was planned.
inline constexpr const char* kByKeys =
    "SELECT set_config('enable_seqscan','off',true), set_config('enable_hashjoin','off',true),"
    " set_config('enable_mergejoin','off',true)";

// Its row: how many the update found, and how many the insert then wrote. The places of the update come
// first. Nothing when they are not an UPDATE and an INSERT of one row into the same table.
std::optional<std::string> UpsertOf(const dialect::Translation& update, const dialect::Translation& insert);

// The columns of both, those of the update's condition as the key, and the places of their values, numbered
// from 0, those of the update first. Nothing where a value is not a place.
std::optional<std::vector<Column>> ColumnsOf(const dialect::Translation& update,
                                             const dialect::Translation& insert);

// The same for many rows, which have one array a column; `types` are those of the places. Its row: the
// numbers, from 1, of the rows that the update found. Fails unless each of the others was inserted. Nothing
// when the places of a column differ in their types, or when one is of a type that is not the server's own.
std::optional<std::string> UpsertOfMany(const dialect::Translation& update, const dialect::Translation& insert,
                                        const std::vector<Column>& columns, const std::vector<Oid>& types);

// What was prepared for the two.
struct PreparedUpsert {
    using Kept = std::shared_ptr<const Prepared>;
    Kept update = {}, insert = {};
    Kept one = {};                     // null when the server does not take it
    std::vector<Column> columns = {};  // of many
    Kept many = {};                    // null when rows travel one by one
    bool touchesControlTable = false;
};

class Upserts {
public:
    using Kept = PreparedUpsert::Kept;

    std::shared_ptr<PreparedUpsert> Find(const Kept& update, const Kept& insert) const;
    std::shared_ptr<PreparedUpsert> Keep(PreparedUpsert upsert);
    void Forget() { known_.clear(); }

private:
    std::vector<std::shared_ptr<PreparedUpsert>> known_;
};

}  // namespace iqrx::platform::postgres
