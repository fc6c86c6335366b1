// How a statement that nobody waits for is readied.
#include <algorithm>
#include <utility>

#include "platform/postgres/errors.h"
#include "platform/postgres/statements.h"
#include "platform/postgres/types.h"

namespace iqrx::platform::postgres {

void Statements::Send(const platform::Statement& statement, platform::Answers& answers) {
    if (!CanSend()) return Connection::Send(statement, answers);
    Awaited write{.statement = KeptStatement(statement), .answers = &answers};
    std::shared_ptr<Program> program;
    if (!Ready(answers, [&] { return (program = Bound(statement)) != nullptr; }))
        return Connection::Send(statement, answers);
    Take(LoadOf(std::move(write), program->statements.front(), program->touchesControlTable));
}

void Statements::Upsert(const platform::Statement& update, const MakeStatement& insert,
                        platform::Answers& answers) {
    if (!CanSend()) return Connection::Upsert(update, insert, answers);
    Awaited write{.statement = KeptStatement(update), .answers = &answers};
    std::shared_ptr<PreparedUpsert> upsert;
    std::vector<Literal> updated, inserted;
    const bool isReady = Ready(answers, [&] {
        if (!write.insert) write.insert.emplace(insert());
        upsert = BoundUpsert(write.statement.Borrowed(updated), write.insert->Borrowed(inserted));
        return upsert && upsert->one && !upsert->one->IsRefused();
    });
    if (!isReady) return Connection::Upsert(write.statement.Borrowed(updated), insert, answers);
    Load load = LoadOf(std::move(write), upsert->one, upsert->touchesControlTable);
    load.upsert = std::move(upsert);
    Take(std::move(load));
}

Load Statements::LoadOf(Awaited write, Kept statement, bool touchesControlTable) {
    Load load{.statement = std::move(statement),
              .parameters = parameters_,
              .touchesControlTable = touchesControlTable};
    load.entry.writes.push_back(std::move(write));
    return load;
}

void Statements::AwaitAnswers() {
    if (session_) Call([&] { SendPending(); });
}

bool Statements::CanSend() const { return session_ && rowsPerTrip_ > 1 && frame_ != Frame::Fallen; }

// False: the statement is one for which its caller waits, since something is wrong with it or since it is not
// of the usual form; nothing is under way then.
bool Statements::Ready(platform::Answers& answers, const std::function<bool()>& bind) {
    const auto settle = [&] {
        try {
            Call([&] { SendPending(); });
        } catch (...) {
            answers.NotSent();
            throw;
        }
    };
    if (owed_ || HasRows()) settle();
    for (;;) {
        try {
            parameters_.Clear();
            if (bind()) return true;
            break;
        } catch (const UnderWay&) {
            settle();
        } catch (...) {
            break;
        }
    }
    settle();
    return false;
}

// Null when somebody waits for such a statement. What touches a control table stands in a transaction that
// waits for the disk: its own, or one that does already.
std::shared_ptr<Program> Statements::Sendable(const platform::Statement& statement) {
    auto program = std::static_pointer_cast<Program>(programs_->Find(statement).program);
    const dialect::Translation& translation = program->translation;
    const bool isWrite = !translation.isSelect && translation.steps.size() == 1 &&
                         translation.steps.front().kind == dialect::Step::Kind::Run;
    return isWrite && (!program->touchesControlTable || waitsForDisk_ || frame_ == Frame::None) ? program
                                                                                                : nullptr;
}

void Statements::BindTo(const Program& program, const platform::Statement& statement) {
    const dialect::Found found = programs_->Find(statement);
    MakeReady(found);
    Bind(found, 0, program.translation.steps.front());
}

std::shared_ptr<Program> Statements::Bound(const platform::Statement& statement) {
    auto program = Sendable(statement);
    if (program) BindTo(*program, statement);
    return program;
}

std::shared_ptr<PreparedUpsert> Statements::BoundUpsert(const platform::Statement& update,
                                                        const platform::Statement& insert) {
    const auto updates = Sendable(update), inserts = Sendable(insert);
    if (!updates || !inserts) return nullptr;
    const bool comesSeldom = updates->touchesControlTable || inserts->touchesControlTable;
    if (!comesSeldom) PrepareAll({updates.get(), inserts.get()}, updates->translation.tables.front());
    BindTo(*updates, update);
    BindTo(*inserts, insert);
    if (comesSeldom) return AsItStands(updates->translation, inserts->translation);
    const Kept &first = updates->statements.front(), &second = inserts->statements.front();
    const auto known = upserts_.Find(first, second);
    return known ? known : PrepareUpsert(first, second, updates->translation, inserts->translation);
}

std::shared_ptr<PreparedUpsert> Statements::AsItStands(const dialect::Translation& update,
                                                       const dialect::Translation& insert) {
    const auto one = UpsertOf(update, insert);
    if (!one) return nullptr;
    const std::size_t places = update.steps.front().literalCount + insert.steps.front().literalCount;
    return std::make_shared<PreparedUpsert>(
        PreparedUpsert{.one = std::make_shared<Prepared>(*one, places), .touchesControlTable = true});
}

std::shared_ptr<PreparedUpsert> Statements::PrepareUpsert(const Kept& first, const Kept& second,
                                                          const dialect::Translation& update,
                                                          const dialect::Translation& insert) {
    PreparedUpsert upsert{.update = first, .insert = second};
    const auto one = UpsertOf(update, insert);
    if (!one) return upserts_.Keep(std::move(upsert));
    if (session_->Queued() > 0) throw UnderWay{};
    std::vector<Oid> types = first->Types();
    types.insert(types.end(), second->Types().begin(), second->Types().end());
    if (auto columns = ColumnsOf(update, insert); columns && HoldsKeyOf(update.tables.front(), *columns)) {
        upsert.columns = std::move(*columns);
        const auto many = UpsertOfMany(update, insert, upsert.columns, types);
        if (many && PrepareBoth(upsert, {*one, types}, *many)) return upserts_.Keep(std::move(upsert));
    }
    upsert.one = session_->Prepare(*one, types);
    return upserts_.Keep(std::move(upsert));
}

// Rows of one key are told apart then by the server, too, whatever it takes for equal.
bool Statements::HoldsKeyOf(const std::string& table, const std::vector<Column>& columns) {
    const std::vector<std::string>& key = KeyOf(table);
    const auto isThere = [&](const std::string& name) {
        return std::ranges::any_of(columns,
                                   [&](const Column& column) { return column.isKey && column.name == name; });
    };
    return !key.empty() && std::ranges::all_of(key, isThere);
}

// False where the server does not take many, as for a view with rules, and in a transaction, which would
// fall. Where a trip can be done again, it is told with the first use.
bool Statements::PrepareBoth(PreparedUpsert& upsert, const Session::Source& one, const std::string& many) {
    if (session_->InTransaction()) return false;
    const std::vector<Oid> arrays(upsert.columns.size(), kTexts);
    if (frame_ == Frame::None) {
        upsert.one = session_->Promise(one.sql, one.types);
        upsert.many = session_->Promise(many, arrays);
        return true;
    }
    try {
        const auto both = session_->Prepare({one, {many, arrays}});
        upsert.one = both.front();
        upsert.many = both.back();
        return true;
    } catch (const DatabaseFailure& failure) {
        if (IsLost(failure)) throw;
        return false;
    }
}

}  // namespace iqrx::platform::postgres
