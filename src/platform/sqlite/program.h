// A translated statement with what is prepared for it.
#pragma once

#include <memory>
#include <vector>

#include "platform/dialect/programs.h"
#include "platform/sqlite/prepared.h"

namespace iqrx::platform::sqlite {

using dialect::Found;

struct Program : dialect::Program {
    std::vector<Prepared> statements;                    // of the translation, in its order
    std::shared_ptr<const std::vector<Column>> columns;  // of a select

    // Of this program; what a step of it takes.
    void Bind(const Found& found, Prepared& statement, std::size_t set, std::size_t first, std::size_t count) {
        boundBy = nullptr;
        statement.BindAll(found.Of(set, first, count));
        boundBy = found.form;
    }
};

// Raises when the statements do not fit the database.
std::shared_ptr<Program> Prepare(Database& database, dialect::Translation translation);
inline Program& ProgramOf(const Found& found) { return static_cast<Program&>(*found.program); }

}  // namespace iqrx::platform::sqlite
