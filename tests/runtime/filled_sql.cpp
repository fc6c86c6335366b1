// A statement whose text and number of holes the build gives, filled with two values: compiled by tests that
// expect the compiler to refuse it and to say why, and once to take it.
#include "runtime/sql.h"

namespace iqrx::runtime {

constexpr Sql<HOLES> kStatement = TEXT;

FilledSql<HOLES> Filled() {
    return kStatement.On("t", platform::Literal::Whole(1), platform::Literal::Whole(2));
}

}  // namespace iqrx::runtime
