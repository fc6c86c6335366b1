// Splits a statement text into tokens, and into its shape: the text without its literals.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dialect/literals.h"

namespace iqrx::platform::dialect {

struct Token {
    enum class Kind { Word, Symbol, Literal, End };
    Kind kind = Kind::End;
    std::string_view text;  // of the statement; a literal's as it stands there
    std::size_t place = 0;
};

// Appends the literals to `literals`, which it starts anew. NULL is a literal except after IS and NOT.
// Raises at a character that no statement has outside its literals.
std::vector<Token> Tokenize(std::string_view statement, Literals& literals);

// What two statement texts have in common that differ in their literals only: the text with a mark in place of each.
std::string ShapeOf(std::string_view statement, const std::vector<Token>& tokens);

}  // namespace iqrx::platform::dialect
