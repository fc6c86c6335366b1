#include "platform/odbc/upserts.h"

#include <utility>

#include "platform/dialect/change.h"
#include "platform/odbc/connection.h"

namespace iqrx::platform::odbc {

namespace {

struct CountsThatDoNotFit : RuntimeError {
    using RuntimeError::RuntimeError;
};

UpsertUnit TakeFirst(UpsertUnits& units) {
    UpsertUnit first = std::move(units.front());
    units.pop_front();
    return first;
}

std::string TableOfChange(std::string_view sql) { return LastPart(dialect::ChangeOf(sql).table); }

}  // namespace

std::string TextOf(const UpsertUnits& units) {
    std::string text;
    for (const UpsertUnit& unit : units) text += unit.update + "; IF @@ROWCOUNT = 0 " + unit.insert + ";\r\n";
    return text;
}

std::optional<std::vector<UnitCounts>> CountsOf(std::size_t units, const std::vector<std::int32_t>& counts) {
    std::vector<UnitCounts> found;
    found.reserve(units);
    auto next = counts.begin();
    for (; units > 0; --units) {
        UnitCounts count;
        if (next == counts.end()) return std::nullopt;
        count.updated = *next++;
        if (count.updated == 0) {
            if (next == counts.end()) return std::nullopt;
            count.inserted = *next++;
        }
        found.push_back(count);
    }
    return next == counts.end() ? std::optional(std::move(found)) : std::nullopt;
}

void Upserts::Add(UpsertUnit unit) {
    units_.push_back(std::move(unit));
    if (units_.size() >= rowsPerTrip_) SendAll();
}

void Upserts::SendBefore(Answers& next) {
    try {
        Send();
    } catch (...) {
        next.NotSent();
        throw;
    }
}

// Whatever ends it, a statement that failed or somebody who heard an answer: the rest are not sent.
void Upserts::SendAll() {
    UpsertUnits units = std::exchange(units_, {});
    try {
        units.size() == 1 ? OneByOne(units) : AllAtOnce(units);
    } catch (...) {
        for (const UpsertUnit& unit : units) unit.answers->NotSent();
        throw;
    }
}

// Most statements that fail do not end their batch: the server goes on with the next one, after a failed
// update with its insert. XACT_ABORT would end it there, and take along what an open group wrote before. And
// of what it can't compile the server does nothing, and names no statement. So the batch is a transaction,
// which is taken back as a whole; then its upserts are done one after the other, up to the one that fails.
void Upserts::AllAtOnce(UpsertUnits& units) {
    const Errors before = connection_.errors;
    std::vector<UnitCounts> counts;
    try {
        counts = Together(units);
    } catch (const CountsThatDoNotFit& error) {
        TakeFirst(units).answers->Failed(error);
        throw;
    } catch (const RuntimeError& error) {
        if (SpeakOfLostConnection(connection_.errors)) {
            TakeFirst(units).answers->Failed(error);
            throw;
        }
        OneByOne(units);
        connection_.errors = before;
        return;
    } catch (...) {
        TakeFirst(units).answers->Failed(CurrentError());
        throw;
    }
    for (const UnitCounts& count : counts) {
        Answers& hearer = *TakeFirst(units).answers;
        hearer.Updated(count.updated);
        if (count.updated == 0) hearer.Inserted(count.inserted);
    }
}

std::vector<UnitCounts> Upserts::Together(const UpsertUnits& units) {
    std::vector<UnitCounts> found;
    connection_.Call([&] {
        connection_.InTransaction([&] {
            const Handle statement = connection_.NewStatement();
            const auto counts =
                connection_.Counts(statement, connection_.ExecuteText(statement, TextOf(units)));
            auto fitting = CountsOf(units.size(), counts);
            if (!fitting)
                throw CountsThatDoNotFit(
                    kDatabaseError, connection_.driver.source,
                    std::to_string(counts.size()) + " counts came for " + std::to_string(units.size()) +
                        " rows that were sent together, which does not fit; none of them was "
                        "written. Triggers need SET NOCOUNT ON, and the session must not have "
                        "it; otherwise leave Rows per Trip at 1");
            found = std::move(*fitting);
        });
    });
    return found;
}

void Upserts::OneByOne(UpsertUnits& units) {
    while (!units.empty()) {
        const UpsertUnit unit = TakeFirst(units);
        connection_.Connection::Upsert(
            unit.update, [&] { return Statement(unit.insert); }, *unit.answers);
    }
}

void OdbcConnection::Send(const Statement& statement, Answers& answers) {
    upserts_.SendBefore(answers);
    Connection::Send(statement, answers);
}

void OdbcConnection::Upsert(const Statement& update, const MakeStatement& insert, Answers& answers) {
    if (Collect(update, insert, answers)) return;
    upserts_.SendBefore(answers);
    Connection::Upsert(update, insert, answers);
}

// False: its caller waits. In a unit other statements make it wait anyway, a control table's is to be kept at
// once, and an insert that can't be made matters only when the update has found no row.
bool OdbcConnection::Collect(const Statement& update, const MakeStatement& insert, Answers& answers) {
    if (!IsOpen() || !driver.transactSql || !upserts_.AreCollected() || frame_ != Frame::None) return false;
    UpsertUnit unit{std::string(update.Text()), {}, &answers};
    const std::string table = TableOfChange(unit.update);
    if (table.empty() || controlTables_.contains(table)) return false;
    try {
        unit.insert = insert().Text();
    } catch (...) {
        return false;
    }
    if (TableOfChange(unit.insert) != table) return false;
    if (upserts_.IsEmpty()) {  // rows of a recordset that wait go first
        try {
            const auto turn = Turn();
            InTurn([&] { recordsets.SendPending(); });
        } catch (...) {
            answers.Failed(CurrentError());
            throw;
        }
    }
    upserts_.Add(std::move(unit));
    return true;
}

}  // namespace iqrx::platform::odbc
