// Translated and prepared statements: found by the shape that a statement has or, where only the text says
// what it means, by the shape of the text.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sqlite/lexer.h"
#include "platform/sqlite/prepared.h"
#include "platform/sqlite/sqlite_database.h"
#include "platform/sqlite/translator.h"

namespace iqrx::platform::sqlite {

struct Program {
    std::string shape;  // of the text
    Translation translation;
    std::vector<Prepared> statements;                    // of the translation, in its order
    std::shared_ptr<const std::vector<Column>> columns;  // of a select
    bool touchesControlTable = false;
    const void* boundBy = nullptr;  // the form whose own literals are bound
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
    // What a step of the program takes.
    void Bind(Prepared& statement, std::size_t set, std::size_t first, std::size_t count) const {
        program->boundBy = nullptr;
        statement.BindAll(Of(set, first, count));
        program->boundBy = form;
    }
};

class StatementCache {
public:
    // Keeps the programs of `capacity` shapes. Both references must outlive the cache.
    StatementCache(Database& database, const TableNames& controlTables, std::size_t capacity = 64);

    // Raises when the statement is not understood or does not fit the database; such a one is not kept.
    Found Find(const platform::Statement& statement);

private:
    // How the values of a shape fill the places of its program.
    struct Form {
        platform::Shape::Key shape;
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
    std::shared_ptr<Program> Prepare(std::string_view text, const std::vector<Token>& tokens);

    Database& database_;
    const TableNames& controlTables_;
    const std::size_t capacity_;
    std::vector<std::shared_ptr<Program>> programs_;  // the newest first
    std::vector<std::unique_ptr<Form>> forms_;        // likewise
    Literals literals_;                               // of a text
    std::vector<const Literal*> found_;
};

}  // namespace iqrx::platform::sqlite
