// How a statement that nobody waits for is readied.
#include "platform/postgres/connection.h"

namespace iqrx::platform::postgres {

void PostgresConnection::Send(const platform::Statement& statement, platform::Answers& answers) {
    if (!CanSend()) return Connection::Send(statement, answers);
    Entry entry{.statement = KeptStatement(statement)};
    const auto prepared = Readied(answers, [&] {
        parameters_.Clear();
        return Bound(entry.statement.Borrowed());
    });
    if (!prepared) return Connection::Send(statement, answers);
    SendWrite(std::move(entry), *prepared, answers);
}

void PostgresConnection::Upsert(const platform::Statement& update, const MakeStatement& insert,
                                platform::Answers& answers) {
    if (!CanSend()) return Connection::Upsert(update, insert, answers);
    Entry entry{.statement = KeptStatement(update)};
    const auto prepared = Readied(answers, [&] {
        if (!entry.insert) entry.insert.emplace(insert());
        return BoundUpsert(entry.statement.Borrowed(), entry.insert->Borrowed());
    });
    if (!prepared) return Connection::Upsert(entry.statement.Borrowed(), insert, answers);
    SendWrite(std::move(entry), *prepared, answers);
}

void PostgresConnection::AwaitAnswers() {
    if (session_) Call([&] { SendPending(); });
}

bool PostgresConnection::CanSend() const {
    return session_ && rowsPerTrip_ > 1 && frame_ != Frame::Exclusive && frame_ != Frame::Fallen;
}

// Null: the statement is one for which its caller waits, since something is wrong with it or since it is not
// of the usual form; nothing is under way then.
PostgresConnection::Kept PostgresConnection::Readied(platform::Answers& answers,
                                                     const std::function<Kept()>& ready) {
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
            if (Kept prepared = ready()) return prepared;
            break;
        } catch (const UnderWay&) {
            settle();
        } catch (...) {
            break;
        }
    }
    settle();
    return nullptr;
}

PostgresConnection::Kept PostgresConnection::Bound(const platform::Statement& statement) {
    const dialect::Found found = programs_->Find(statement);
    const auto& program = static_cast<const Program&>(*found.program);
    const dialect::Translation& translation = program.translation;
    if (translation.isSelect || program.touchesControlTable || translation.steps.size() != 1 ||
        translation.steps.front().kind != dialect::Step::Kind::Run)
        return nullptr;
    Bind(found, 0, translation.steps.front());
    return program.statements.front();
}

PostgresConnection::Kept PostgresConnection::BoundUpsert(const platform::Statement& update,
                                                         const platform::Statement& insert) {
    parameters_.Clear();
    const Kept first = Bound(update);
    if (!first) return nullptr;
    const Kept second = Bound(insert);
    if (!second) return nullptr;
    if (const Upserts::Pair* known = upserts_.Find(first, second)) return known->both;
    const std::shared_ptr<dialect::Program> updates = programs_->Find(update).program;
    const auto sql = UpsertOf(updates->translation, programs_->Find(insert).program->translation);
    if (!sql) return upserts_.Keep({first, second, nullptr}).both;
    if (session_->Queued() > 0) throw UnderWay{};
    std::vector<Oid> types = first->Types();
    types.insert(types.end(), second->Types().begin(), second->Types().end());
    return upserts_.Keep({first, second, session_->Prepare(*sql, types)}).both;
}

}  // namespace iqrx::platform::postgres
