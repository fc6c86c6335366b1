// Splits a statement text into tokens, and into its shape: the text without its literals.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sqlite/literals.h"

namespace iqrx::platform::sqlite {

struct Token {
    enum class Kind { Word, Symbol, Literal, End };
    Kind kind = Kind::End;
    std::string_view text;  // of the statement; a literal's as it stands there
    std::size_t place = 0;
};

// Appends the literals to `literals`, which it starts anew. NULL is a literal except after IS and NOT.
// Raises at a character that no statement has outside its literals.
std::vector<Token> Tokenize(std::string_view statement, Literals& literals);

// What two statement texts have in common that differ in their literals alone.
class Shape {
public:
    Shape() = default;
    Shape(std::string_view statement, const std::vector<Token>& tokens);

    // Whether the statement has this shape; then `literals` holds its literals. Reads the text once, and
    // finds the same literals as Tokenize does, which alone decides what a text of an unknown shape means.
    bool Match(std::string_view statement, Literals& literals) const;

private:
    struct Segment {
        std::size_t begin, size;
        bool endsInWord;
    };
    void AddSegment(std::size_t begin, std::size_t end);

    std::string text_;
    std::vector<Segment> segments_;  // before, between and after the literals
};

}  // namespace iqrx::platform::sqlite
