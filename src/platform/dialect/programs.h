// Translated statements with what an adapter has prepared for them: found by the shape that a statement has
// or, where only the text says what it means, by the shape of the text.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/database.h"
#include "platform/dialect/lexer.h"
#include "platform/dialect/translator.h"

namespace iqrx::platform::dialect {

// Adapters derive their programs, with what they have prepared, from it.
struct Program {
    virtual ~Program() = default;

    std::string shape;  // of the text
    Translation translation;
    bool touchesControlTable = false;
    const void* boundBy = nullptr;  // the form whose own literals an adapter keeps bound, if it does
};

// A program and what its places are bound to, one set after the other: null where that is bound already.
// Valid until the next one is found.
struct Found {
    const std::shared_ptr<Program>& program;
    const void* form;  // null: a text's
    std::span<const Literal* const> literals;
    std::size_t sets = 1;

    std::span<const Literal* const> Of(std::size_t set, std::size_t first, std::size_t count) const {
        return literals.subspan(set * (literals.size() / sets) + first, count);
    }
};

class Programs {
public:
    using Prepare = std::function<std::shared_ptr<Program>(Translation translation)>;

    // `prepare` makes a program, and may raise. Both references must outlive this.
    Programs(const Grammar& grammar, const TableNames& controlTables, Prepare prepare)
        : grammar_(grammar), controlTables_(controlTables), prepare_(std::move(prepare)), literals_(grammar) {}

    // Raises when the statement is not understood or does not fit the database; such a one is not kept.
    Found Find(const platform::Statement& statement);
    void Forget();  // all of them

private:
    static constexpr std::size_t kCapacity = 64;  // shapes that are kept

    // How the values of a shape fill the places of its program.
    struct Form {
        explicit Form(const Grammar& grammar) : literals(grammar) {}

        platform::Shape::Key shape{};
        std::string table;
        std::shared_ptr<Program> program;
        std::size_t values = 0;                         // of a set
        std::vector<std::optional<std::size_t>> holes;  // of each place: the value that fills it
        std::string sample;                             // a text of this shape
        Literals literals;  // of the sample: those outside its holes are the shape's own
    };

    Found FindText(std::string_view text);
    const Form& FormOf(const platform::Statement& statement);
    std::unique_ptr<Form> Cut(const platform::Statement& statement);
    const std::shared_ptr<Program>& ProgramOf(std::string_view text, const std::vector<Token>& tokens);

    const Grammar& grammar_;
    const TableNames& controlTables_;
    const Prepare prepare_;
    std::vector<std::shared_ptr<Program>> programs_;  // the newest first
    std::vector<std::unique_ptr<Form>> forms_;        // likewise
    Literals literals_;                               // of a text
    std::vector<const Literal*> found_;
};

}  // namespace iqrx::platform::dialect
