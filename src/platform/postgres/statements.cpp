#include "platform/postgres/statements.h"

#include <algorithm>

namespace iqrx::platform::postgres {

namespace {

constexpr const char* kKeyOf =
    "SELECT a.attname FROM pg_catalog.pg_index i JOIN pg_catalog.pg_attribute a"
    " ON a.attrelid = i.indrelid AND a.attnum = ANY(i.indkey)"
    " WHERE i.indrelid = to_regclass(quote_ident($1)) AND i.indisprimary";

std::vector<std::string> NamesIn(const PGresult* rows) {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(PQntuples(rows)));
    for (int row = 0; row < PQntuples(rows); ++row) names.emplace_back(PQgetvalue(rows, row, 0));
    return names;
}

}  // namespace

// What is under way is waited for with the statement, unless the server has to know the statement first.
dialect::Found Statements::Find(const platform::Statement& statement) {
    SendRows();
    QueueTrip();
    if (session_->Queued() > 0 && !IsReady(programs_->Find(statement))) SendPending();
    const dialect::Found found = programs_->Find(statement);
    MakeReady(found);
    return found;
}

void Statements::MakeReady(const dialect::Found& found) {
    auto& program = static_cast<Program&>(*found.program);
    if (!IsReady(found)) {
        PrepareAll({&program});
    } else if (!IsKnown(program)) {
        program.statements = {std::make_shared<Prepared>(program.translation.statements.front(),
                                                         program.translation.steps.front().literalCount)};
        ++program.sentAsItStands;
    }
}

// Most statements come once or twice: these are sent as they stand. An empty text has to know the type of its
// place.
bool Statements::IsReady(const dialect::Found& found) {
    constexpr int kMost = 2;
    const auto& program = static_cast<const Program&>(*found.program);
    if (IsKnown(program)) return true;
    const auto isEmpty = [](const Literal* literal) {
        return literal->Is() == Literal::Kind::Text && literal->TextValue().empty();
    };
    return program.statements.size() == 1 && program.sentAsItStands < kMost &&
           std::ranges::none_of(found.literals, isEmpty);
}

bool Statements::IsKnown(const Program& program) {
    return std::ranges::all_of(program.statements,
                               [](const Kept& statement) { return statement && statement->IsKnown(); });
}

void Statements::PrepareAll(std::initializer_list<Program*> programs, const std::string& table) {
    std::vector<Session::Source> sources;
    for (Program* program : programs)
        if (!IsKnown(*program))
            for (const std::string& sql : program->translation.statements) sources.push_back({sql});
    if (sources.empty()) return;
    if (session_->Queued() > 0) throw UnderWay{};
    Answer key;
    const bool asksForKey = !table.empty() && !keys_.contains(table);
    if (asksForKey) session_->Queue(kKeyOf, {table.c_str()});
    const std::vector<Kept> prepared = session_->Prepare(sources, asksForKey ? &key : nullptr);
    if (asksForKey) keys_[table] = NamesIn(key.get());
    auto next = prepared.begin();
    for (Program* program : programs)
        if (!IsKnown(*program))
            for (Kept& statement : program->statements) statement = *next++;
}

void Statements::Bind(const dialect::Found& found, std::size_t set, const dialect::Step& step) {
    const std::vector<Oid>& types = static_cast<Program&>(*found.program).statements[step.statement]->Types();
    const std::vector<std::size_t>& negative = found.program->translation.negative;
    const auto literals = found.Of(set, step.firstLiteral, step.literalCount);
    for (std::size_t i = 0; i < literals.size(); ++i)
        parameters_.Add(*literals[i], types[i],
                        std::ranges::find(negative, step.firstLiteral + i) != negative.end());
}

Statements::Kept Statements::Prepare(const std::string& sql) {
    constexpr std::size_t kMost = 64;
    if (const auto known = recordsets_.find(sql); known != recordsets_.end()) return known->second;
    SendPending();
    if (recordsets_.size() == kMost) recordsets_.clear();
    return recordsets_[sql] = session_->Prepare(sql);
}

const std::vector<std::string>& Statements::KeyOf(const std::string& table) {
    if (const auto known = keys_.find(table); known != keys_.end()) return known->second;
    return keys_[table] = NamesIn(session_->Ask(kKeyOf, {table.c_str()}).get());
}

void Statements::ForgetTables() {
    if (programs_) programs_->Forget();
    upserts_.Forget();
    recordsets_.clear();
    keys_.clear();
}

}  // namespace iqrx::platform::postgres
