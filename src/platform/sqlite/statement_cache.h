// Translated and prepared statements, found by the shape of the statement text.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/sqlite/handles.h"
#include "platform/sqlite/lexer.h"
#include "platform/sqlite/sqlite_database.h"
#include "platform/sqlite/translator.h"

namespace iqrx::platform::sqlite {

struct Program {
    Shape shape;
    Translation translation;
    std::vector<Statement> statements;  // of the translation, in its order
    std::vector<Column> columns;        // of a select
    bool touchesControlTable = false;
};

class StatementCache {
public:
    // Keeps the statements of `capacity` shapes. Both references must outlive the cache.
    StatementCache(Database& database, const ControlTables& controlTables, std::size_t capacity = 64);

    // The program of a statement text, whose literals are left in `literals`. Raises when the text is not
    // understood or does not fit the database; such a text is not kept.
    const std::shared_ptr<Program>& Find(std::string_view text, Literals& literals);

    std::size_t Size() const { return programs_.size(); }

private:
    std::shared_ptr<Program> Prepare(std::string_view text, Literals& literals);

    Database& database_;
    const ControlTables& controlTables_;
    const std::size_t capacity_;
    std::vector<std::shared_ptr<Program>> programs_;  // roughly the recently used ones first
};

}  // namespace iqrx::platform::sqlite
