// A statement as the copy hands it to a connection: a shape with values, or a text from elsewhere. An adapter
// that binds values knows the shape by its identity and takes the values as they are; one that sends texts
// asks for the text, which is made when somebody first asks for it.
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/literal.h"

namespace iqrx::platform {

// A text of a shape and what follows it.
struct Piece {
    enum class Then : std::uint8_t { Nothing, Value, Table };
    std::string_view text;
    Then then = Then::Nothing;
};

// Texts that live as long as the program, with holes between them; the first piece is not empty. A statement
// with several sets of values repeats the pieces for each set, the opening stands once in front.
struct Shape {
    std::span<const Piece> pieces;
    std::string_view opening = {};

    // Where its parts lie: the same for equal shapes only, also when another one has taken the place of the
    // first one's pieces.
    struct Key {
        const Piece* pieces;
        const char* firstText;
        const char* opening;
        bool operator==(const Key&) const = default;
    };
    Key Identity() const { return {pieces.data(), pieces.front().text.data(), opening.data()}; }
};

class Statement {
public:
    // A text from elsewhere; borrowed.
    template <std::convertible_to<std::string_view> Text>
    Statement(const Text& text) : text_(text) {}
    // All is borrowed. The values fill the holes in their order; the table's name fills those of its own.
    Statement(const Shape& shape, std::string_view table, std::span<const Literal> values)
        : shape_(shape), table_(table), values_(values) {}
    // The text of a shape is made anew.
    Statement(Statement&& made) noexcept
        : shape_(made.shape_),
          table_(made.table_),
          values_(made.values_),
          text_(shape_.pieces.empty() ? made.text_ : std::string_view()) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Whether it is a shape all of whose values can be bound; else only the text says what it means.
    bool CanBeBound() const;
    const Shape& Form() const { return shape_; }
    std::string_view Table() const { return table_; }
    std::span<const Literal> Values() const { return values_; }

    // As a server gets it; valid as long as the statement.
    std::string_view Text() const;

private:
    Shape shape_;
    std::string_view table_;
    std::span<const Literal> values_;
    mutable std::string rendered_;
    mutable std::string_view text_;
};

// A statement that outlives the call in which it was given. Many are kept while they are on their way, and
// few of them are needed again: the values are packed.
class KeptStatement {
public:
    KeptStatement() = default;
    explicit KeptStatement(const Statement& statement);

    // From this, and from the room that the values were unpacked to.
    Statement Borrowed(std::vector<Literal>& room) const;

private:
    Shape shape_;
    std::string text_;  // of a statement without a shape; else the table's name
    std::string values_;
};

}  // namespace iqrx::platform
