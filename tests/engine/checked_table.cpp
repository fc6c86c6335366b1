// A table whose parts the build gives: compiled by tests that expect the compiler to refuse it and to say
// why, and once to take it.
#include "engine/table.h"

namespace iqrx::engine {

constexpr Table kTable = Checked({
    .name = "example",
    .titleLabel = "",
    .columns = {COLUMNS},
    .auditKeys = {{AUDIT_KEY, UpTo(3)}},
    .outputFields = {OUTPUT_FIELD},
    .statusField = STATUS_FIELD,
    .update = UPDATE_TEXT,
    .insert = INSERT_TEXT,
    .remove = "DELETE FROM {table} WHERE a = {a}",
});

}  // namespace iqrx::engine
