#include "platform/sqlite/statement_cache.h"

#include <algorithm>

namespace iqrx::platform::sqlite {

namespace {
// A copy alternates between a handful of shapes; reordering those with every statement would gain nothing.
constexpr std::ptrdiff_t kSettled = 6;
}  // namespace

StatementCache::StatementCache(Database& database, const ControlTables& controlTables, std::size_t capacity)
    : database_(database), controlTables_(controlTables), capacity_(capacity) {}

const std::shared_ptr<Program>& StatementCache::Find(std::string_view text, Literals& literals) {
    for (auto program = programs_.begin(); program != programs_.end(); ++program) {
        if (!(*program)->shape.Match(text, literals)) continue;
        if (program - programs_.begin() < kSettled) return *program;
        std::rotate(programs_.begin(), program, program + 1);
        return programs_.front();
    }
    auto program = Prepare(text, literals);
    if (programs_.size() == capacity_) programs_.pop_back();
    return *programs_.insert(programs_.begin(), std::move(program));
}

std::shared_ptr<Program> StatementCache::Prepare(std::string_view text, Literals& literals) {
    const std::vector<Token> tokens = Tokenize(text, literals);
    auto program = std::make_shared<Program>();
    program->translation = Translate(text, tokens);
    program->shape = Shape(text, tokens);
    for (const std::string& sql : program->translation.statements)
        program->statements.emplace_back(database_, sql);
    if (program->translation.isSelect) program->columns = program->statements.front().Columns();
    program->touchesControlTable =
        std::any_of(program->translation.tables.begin(), program->translation.tables.end(),
                    [&](const std::string& table) { return controlTables_.contains(table); });
    return program;
}

}  // namespace iqrx::platform::sqlite
