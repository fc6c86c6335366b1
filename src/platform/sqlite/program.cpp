#include "platform/sqlite/program.h"

#include <utility>

namespace iqrx::platform::sqlite {

std::shared_ptr<Program> Prepare(Database& database, dialect::Translation translation) {
    auto program = std::make_shared<Program>();
    program->translation = std::move(translation);
    for (const std::string& sql : program->translation.statements)
        program->statements.emplace_back(database, sql);
    if (program->translation.isSelect)
        program->columns = std::make_shared<const std::vector<Column>>(program->statements.front().Columns());
    return program;
}

}  // namespace iqrx::platform::sqlite
