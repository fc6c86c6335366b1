// PostgreSQL's own language.
#pragma once

#include "platform/dialect/grammar.h"

namespace iqrx::platform::postgres {

inline constexpr dialect::Grammar kGrammar{.product = "PostgreSQL",
                                           .place = "$",
                                           .placesAreNumbered = true,
                                           .valuesHaveSigns = true,
                                           .empty = "TRUNCATE TABLE",
                                           .statistics = "ANALYZE",
                                           .ascending = "NULLS FIRST",
                                           .descending = "NULLS LAST",
                                           .ordersUnionsByResult = true,
                                           .namesCatalog = true,
                                           .longestName = 63};

}  // namespace iqrx::platform::postgres
