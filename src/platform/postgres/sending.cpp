// How a statement that nobody waits for is readied.
#include <algorithm>
#include <utility>

#include "platform/postgres/connection.h"
#include "platform/postgres/errors.h"
#include "platform/postgres/types.h"

namespace iqrx::platform::postgres {

void PostgresConnection::Send(const platform::Statement& statement, platform::Answers& answers) {
    if (!CanSend()) return Connection::Send(statement, answers);
    Awaited write{.statement = KeptStatement(statement), .answers = &answers};
    Kept prepared;
    if (!Ready(answers, [&] { return (prepared = Bound(statement)) != nullptr; }))
        return Connection::Send(statement, answers);
    Take(LoadOf(std::move(write), std::move(prepared)));
}

void PostgresConnection::Upsert(const platform::Statement& update, const MakeStatement& insert,
                                platform::Answers& answers) {
    if (!CanSend()) return Connection::Upsert(update, insert, answers);
    Awaited write{.statement = KeptStatement(update), .answers = &answers};
    std::shared_ptr<PreparedUpsert> upsert;
    const bool isReady = Ready(answers, [&] {
        if (!write.insert) write.insert.emplace(insert());
        upsert = BoundUpsert(write.statement.Borrowed(), write.insert->Borrowed());
        return upsert && upsert->one;
    });
    if (!isReady) return Connection::Upsert(write.statement.Borrowed(), insert, answers);
    Load load = LoadOf(std::move(write), upsert->one);
    load.upsert = std::move(upsert);
    Take(std::move(load));
}

Load PostgresConnection::LoadOf(Awaited write, Kept statement) {
    Load load{.statement = std::move(statement), .parameters = parameters_};
    load.entry.writes.push_back(std::move(write));
    return load;
}

void PostgresConnection::AwaitAnswers() {
    if (session_) Call([&] { SendPending(); });
}

bool PostgresConnection::CanSend() const {
    return session_ && rowsPerTrip_ > 1 && frame_ != Frame::Exclusive && frame_ != Frame::Fallen;
}

// False: the statement is one for which its caller waits, since something is wrong with it or since it is not
// of the usual form; nothing is under way then.
bool PostgresConnection::Ready(platform::Answers& answers, const std::function<bool()>& bind) {
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

std::shared_ptr<PreparedUpsert> PostgresConnection::BoundUpsert(const platform::Statement& update,
                                                                const platform::Statement& insert) {
    const Kept first = Bound(update);
    if (!first) return nullptr;
    const Kept second = Bound(insert);
    if (!second) return nullptr;
    if (auto known = upserts_.Find(first, second)) return known;
    const std::shared_ptr<dialect::Program> updates = programs_->Find(update).program;
    return PrepareUpsert(first, second, updates->translation, programs_->Find(insert).program->translation);
}

std::shared_ptr<PreparedUpsert> PostgresConnection::PrepareUpsert(const Kept& first, const Kept& second,
                                                                  const dialect::Translation& update,
                                                                  const dialect::Translation& insert) {
    PreparedUpsert upsert{first, second, nullptr, {}, nullptr};
    const auto sql = UpsertOf(update, insert);
    if (!sql) return upserts_.Keep(std::move(upsert));
    if (session_->Queued() > 0) throw UnderWay{};
    std::vector<Oid> types = upsert.update->Types();
    types.insert(types.end(), upsert.insert->Types().begin(), upsert.insert->Types().end());
    upsert.one = session_->Prepare(*sql, types);
    if (auto columns = ColumnsOf(update, insert); columns && HoldsKeyOf(update.tables.front(), *columns)) {
        upsert.columns = std::move(*columns);
        if (const auto many = UpsertOfMany(update, insert, upsert.columns, types))
            upsert.many = PrepareMany(*many, upsert.columns.size());
    }
    return upserts_.Keep(std::move(upsert));
}

// Rows of one key are told apart then by the server, too, whatever it takes for equal.
bool PostgresConnection::HoldsKeyOf(const std::string& table, const std::vector<Column>& columns) {
    const std::vector<std::string>& key = KeyOf(table);
    const auto isThere = [&](const std::string& name) {
        return std::ranges::any_of(columns,
                                   [&](const Column& column) { return column.isKey && column.name == name; });
    };
    return !key.empty() && std::ranges::all_of(key, isThere);
}

// Null where the server does not take it, as for a view with rules, and in a transaction, which would fall.
PostgresConnection::Kept PostgresConnection::PrepareMany(const std::string& sql, std::size_t columns) {
    if (session_->InTransaction()) return nullptr;
    try {
        return session_->Prepare(sql, std::vector<Oid>(columns, kTexts));
    } catch (const DatabaseFailure& failure) {
        if (IsLost(failure)) throw;
        return nullptr;
    }
}

}  // namespace iqrx::platform::postgres
