// Translates a statement text into a database's own statements. The dialect is what the copy and its tools
// send: single-table changes, selects, the session statements and the batches of count-then-insert-or-update
// blocks. Anything else is an error.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dialect/lexer.h"

namespace iqrx::platform::dialect {

// A statement runs as a list of steps; all but the batches have one step or none.
struct Step {
    enum class Kind {
        Run,         // executes a statement; its affected rows count
        RunSilent,   // executes a statement; its affected rows don't
        Count,       // executes a statement and keeps the number that it selects
        SkipUnless,  // goes on at `target` unless the number kept equals the literal
        Skip,        // goes on at `target`
    };
    Kind kind = Kind::Run;
    std::size_t statement = 0;     // index of the statement
    std::size_t firstLiteral = 0;  // its literals are bound in their order
    std::size_t literalCount = 0;
    std::size_t target = 0;
};

struct Translation {
    std::vector<std::string> statements;  // each once
    std::vector<Step> steps;
    std::vector<std::string> tables;    // in lower case
    std::vector<std::size_t> negative;  // literals whose sign is the value's
    std::string schema;                 // that the session is moved to; the statement does nothing else
    bool isSelect = false;
};

// Raises with the place that it does not know. The grammar is of the database whose statements are made.
Translation Translate(std::string_view text, const std::vector<Token>& tokens, const Grammar& grammar);

}  // namespace iqrx::platform::dialect
