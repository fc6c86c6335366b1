// The embedded database's own language.
#pragma once

#include "platform/dialect/grammar.h"

namespace iqrx::platform::sqlite {

inline constexpr dialect::Grammar kGrammar{
    .product = "SQLite", .place = "?", .empty = "DELETE FROM", .statistics = "ANALYZE"};

}  // namespace iqrx::platform::sqlite
