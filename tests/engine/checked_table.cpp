// A table of two columns whose UPDATE the build gives as UPDATE_TEXT: compiled by tests that expect the
// compiler to refuse it, and once to take it.
#include "engine/table.h"

namespace iqrx::engine {

constexpr Table kTable = Checked({
    .name = "example",
    .titleLabel = "",
    .columns = {{"a", "getA", kText}, {"b", "getB", kText}},
    .auditKeys = {{"a", UpTo(3)}},
    .outputFields = {"a"},
    .update = UPDATE_TEXT,
    .insert = "INSERT INTO {table} (a) VALUES ({a})",
    .remove = "DELETE FROM {table} WHERE a = {a}",
});

}  // namespace iqrx::engine
